#include "gui/toolkit/helpwindow.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QSplitter>
#include <QTabWidget>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int FileRole = Qt::UserRole + 1;
const QString kTitle = u"Callwarden Administrator Help"_s;

// A topic as a document, for its title, headings and links.
std::unique_ptr<QTextDocument> Parse(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    auto document = std::make_unique<QTextDocument>();
    document->setHtml(QString::fromUtf8(file.readAll()));
    return document;
}

QListWidgetItem* Item(QListWidget* list, const QString& text, const QString& file) {
    auto* item = new QListWidgetItem(text, list);
    item->setData(FileRole, file);
    return item;
}

} // namespace

CHelpWindow::CHelpWindow(const QString& folder, QWidget* parent)
    : QWidget(parent, Qt::Window), m_folder(folder) {
    setObjectName(u"helpWindow"_s);
    setWindowTitle(kTitle);
    resize(860, 600);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    auto* toolbar = new QToolBar(this);
    m_back = toolbar->addAction(style()->standardIcon(QStyle::SP_ArrowBack), u"&Back"_s);
    m_forward = toolbar->addAction(style()->standardIcon(QStyle::SP_ArrowForward), u"&Forward"_s);
    m_home = toolbar->addAction(style()->standardIcon(QStyle::SP_DirHomeIcon), u"&Contents"_s);
    m_back->setShortcut(QKeySequence::Back);
    m_forward->setShortcut(QKeySequence::Forward);
    m_back->setEnabled(false);
    m_forward->setEnabled(false);
    layout->addWidget(toolbar);

    auto* splitter = new QSplitter(this);
    auto* tabs = new QTabWidget(splitter);
    m_contents = new QListWidget(tabs);
    m_contents->setObjectName(u"helpContents"_s);
    tabs->addTab(m_contents, u"Contents"_s);
    auto* indexPage = new QWidget(tabs);
    auto* indexLayout = new QVBoxLayout(indexPage);
    m_filter = new QLineEdit(indexPage);
    m_filter->setObjectName(u"helpIndexFilter"_s);
    m_filter->setPlaceholderText(u"Type the word you look for"_s);
    m_index = new QListWidget(indexPage);
    m_index->setObjectName(u"helpIndex"_s);
    indexLayout->addWidget(m_filter);
    indexLayout->addWidget(m_index);
    tabs->addTab(indexPage, u"Index"_s);
    m_browser = new QTextBrowser(splitter);
    m_browser->setObjectName(u"helpBrowser"_s);
    m_browser->setOpenExternalLinks(true);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({220, 640});
    layout->addWidget(splitter, 1);

    connect(m_back, &QAction::triggered, m_browser, &QTextBrowser::backward);
    connect(m_forward, &QAction::triggered, m_browser, &QTextBrowser::forward);
    connect(m_home, &QAction::triggered, this, [this] { Open(u"index.html"_s); });
    connect(m_browser, &QTextBrowser::backwardAvailable, m_back, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, m_forward, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::sourceChanged, this, [this] {
        const QString title = m_browser->documentTitle();
        setWindowTitle(title.isEmpty() ? kTitle : title + u" - "_s + kTitle);
    });
    for (QListWidget* list : {m_contents, m_index})
        connect(list, &QListWidget::itemActivated, this, &CHelpWindow::OpenItemFile);
    connect(m_contents, &QListWidget::itemClicked, this, &CHelpWindow::OpenItemFile);
    connect(m_filter, &QLineEdit::textChanged, this, &CHelpWindow::FilterIndex);
    connect(m_filter, &QLineEdit::returnPressed, this, [this] {
        if (QListWidgetItem* item = m_index->currentItem(); item && !item->isHidden())
            OpenItemFile(item);
    });
    LoadTopics();
}

void CHelpWindow::LoadTopics() {
    if (m_folder.isEmpty())
        return;
    const QDir dir(m_folder);
    // The contents in the order the contents page links its topics, then the rest.
    QStringList files;
    if (auto index = Parse(dir.filePath(u"index.html"_s))) {
        files.append(u"index.html"_s);
        for (QTextBlock block = index->begin(); block.isValid(); block = block.next())
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QString link = it.fragment().charFormat().anchorHref().section(u'#', 0, 0);
                if (!link.isEmpty() && !files.contains(link) && dir.exists(link))
                    files.append(link);
            }
    }
    for (const QString& file : dir.entryList({u"*.html"_s, u"*.htm"_s}, QDir::Files, QDir::Name))
        if (!files.contains(file))
            files.append(file);

    for (const QString& file : std::as_const(files)) {
        const auto topic = Parse(dir.filePath(file));
        if (!topic)
            continue;
        const QString title = topic->metaInformation(QTextDocument::DocumentTitle).trimmed();
        Item(m_contents, title.isEmpty() ? file : title, file);
        // The index: every heading of every topic, named with its topic where they differ.
        for (QTextBlock block = topic->begin(); block.isValid(); block = block.next()) {
            if (block.blockFormat().headingLevel() == 0)
                continue;
            const QString heading = block.text().simplified();
            if (!heading.isEmpty())
                Item(m_index, heading == title ? heading : heading + u" (" + title + u')', file);
        }
    }
    m_index->sortItems();
}

void CHelpWindow::Open(const QString& file) {
    const QString path = m_folder.isEmpty() ? QString() : QDir(m_folder).filePath(file);
    if (path.isEmpty() || !QFile::exists(path)) {
        ShowMissing(file);
        return;
    }
    m_browser->setSource(QUrl::fromLocalFile(path));
    for (int row = 0; row < m_contents->count(); ++row)
        if (m_contents->item(row)->data(FileRole).toString() == file)
            m_contents->setCurrentRow(row);
}

QString CHelpWindow::CurrentFile() const {
    const QUrl source = m_browser->source();
    if (m_folder.isEmpty() || !source.isLocalFile())
        return {};
    const QFileInfo shown(source.toLocalFile());
    return shown.absolutePath() == QFileInfo(m_folder).absoluteFilePath() ? shown.fileName() : QString();
}

void CHelpWindow::OpenItemFile(const QListWidgetItem* item) {
    if (item)
        Open(item->data(FileRole).toString());
}

void CHelpWindow::FilterIndex(const QString& text) {
    QListWidgetItem* first = nullptr;
    for (int row = 0; row < m_index->count(); ++row) {
        QListWidgetItem* item = m_index->item(row);
        const bool match = item->text().contains(text.trimmed(), Qt::CaseInsensitive);
        item->setHidden(!match);
        if (match && !first)
            first = item;
    }
    m_index->setCurrentItem(first);
}

void CHelpWindow::ShowMissing(const QString& file) {
    m_browser->setHtml(u"<h1>Help not found</h1><p>The help topic <b>%1</b> is not installed with the "
                       u"console.</p><p>The console looks for its help in the folder <i>help</i> beside the "
                       u"program and in <i>share/callwarden/help</i> beside its <i>bin</i> folder.</p>"_s.arg(
                           file.toHtmlEscaped()));
    setWindowTitle(kTitle);
}
