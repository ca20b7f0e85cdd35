#include "gui/dialogs/addservers.h"

#include "core/app/ansitext.h"
#include "core/doc/cwadmindoc.h"
#include "core/net/accountlists.h"
#include "gui/app/icons.h"
#include "gui/frame/mainframe.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <filesystem>

using namespace Qt::StringLiterals;
using namespace OCL;

namespace {

constexpr int kImagePlaceholder = 0;
constexpr int kImageServer = 1;
constexpr int kImageDomain = 9;

constexpr int kFillDelayMs = 500;
constexpr DWORD kEnumBufferSize = 32768;
constexpr DWORD kEnumEntries = 1024;

const QString kPlaceholder = u"DUMMY"_s;
const QString kIntro =
    u"Locate the RAS servers in the network listing below, and click Add to add them to the "
    u"list of managed RAS servers."_s;

// Only the Microsoft Windows Network is browsed; its providers' names begin so.
bool IsMicrosoftNetwork(const std::string& remoteName) {
    static const std::string prefix = std::string("Microsoft Windows").substr(0, 15);
    return remoteName.compare(0, prefix.size(), prefix) == 0;
}

QString WithoutLeadingBackslashes(const std::string& name) {
    std::size_t skip = 0;
    while (skip < 2 && skip < name.size() && name[skip] == '\\')
        ++skip;
    return CAnsi::ToQString(std::string_view(name).substr(skip));
}

} // namespace

CAddServers::CAddServers(CCwadminDoc& document, CMainFrame& frame, QWidget* parent)
    : QDialog(parent), m_doc(document), m_frame(frame) {
    setObjectName(u"addServers"_s);
    setWindowTitle(u"Network"_s);

    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(kIntro, this);
    intro->setObjectName(u"introText"_s);
    intro->setWordWrap(true);
    layout->addWidget(intro);

    auto* body = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(u"networkTree"_s);
    m_tree->setHeaderHidden(true);
    m_tree->setIconSize(QSize(16, 16));
    m_tree->setSelectionMode(QAbstractItemView::SingleSelection);
    m_tree->setMinimumSize(320, 260);
    left->addWidget(m_tree, 1);

    auto* nameRow = new QHBoxLayout;
    auto* nameLabel = new QLabel(u"Computer:"_s, this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(u"computerName"_s);
    nameLabel->setBuddy(m_name);
    nameRow->addWidget(nameLabel);
    nameRow->addWidget(m_name, 1);
    left->addLayout(nameRow);
    body->addLayout(left, 1);

    auto* buttons = new QVBoxLayout;
    m_add = new QPushButton(u"&Add"_s, this);
    m_add->setObjectName(u"addButton"_s);
    m_add->setDefault(true);
    m_add->setEnabled(false);
    m_close = new QPushButton(u"&Close"_s, this);
    m_close->setObjectName(u"closeButton"_s);
    m_close->setAutoDefault(false);
    buttons->addWidget(m_add);
    buttons->addWidget(m_close);
    buttons->addStretch(1);
    body->addLayout(buttons);
    layout->addLayout(body, 1);

    connect(m_tree, &QTreeWidget::itemSelectionChanged, this, &CAddServers::OnSelectionChanged);
    connect(m_tree, &QTreeWidget::itemExpanded, this, &CAddServers::OnItemExpanded);
    connect(m_name, &QLineEdit::textChanged, this, &CAddServers::OnNameChanged);
    connect(m_add, &QPushButton::clicked, this, &CAddServers::OnAdd);
    connect(m_close, &QPushButton::clicked, this, &CAddServers::OnClose);

    // The window shows before the slow network enumeration starts.
    m_fillTimer.setObjectName(u"fillTimer"_s);
    m_fillTimer.setSingleShot(true);
    m_fillTimer.setInterval(kFillDelayMs);
    connect(&m_fillTimer, &QTimer::timeout, this, &CAddServers::OnFillTimer);
    m_fillTimer.start();
}

CAddServers::~CAddServers() = default;

int CAddServers::AddedCount() const {
    return m_added;
}

void CAddServers::OnFillTimer() {
    m_fillTimer.stop();
    CWaitCursor wait(&m_frame);
    FillNetwork(nullptr, nullptr);
}

QTreeWidgetItem* CAddServers::AddItem(QTreeWidgetItem* parent, const QString& text, int image) {
    auto* item = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(m_tree);
    item->setText(0, text);
    item->setIcon(0, CIcons::TreeImage(image));
    item->setData(0, ImageRole, image);
    return item;
}

void CAddServers::FillNetwork(const NetResource* container, QTreeWidgetItem* parent) {
    INetwork& network = m_doc.Environment().Network();
    HNETENUM handle = nullptr;
    const DWORD opened = network.OpenEnum(ResourceScope::GlobalNet, ResourceType::Any, 0, container, &handle);
    if (opened != Err::Success) {
        m_doc.Environment().Prompter().Message(
            u"Failed to open net enumeration (error code:%1)"_s.arg(opened), {}, IPrompter::Icon::None,
            IPrompter::Buttons::Ok);
        return;
    }
    DWORD count = kEnumEntries;
    std::vector<NetResource> entries;
    if (network.EnumResource(handle, &count, kEnumBufferSize, &entries) != Err::Success) {
        network.CloseEnum(handle);
        return;
    }
    for (const NetResource& entry : entries) {
        if (entry.remoteName.empty())
            continue;
        const bool domain = entry.displayType == DisplayType::Domain;
        if (!domain && (entry.displayType == DisplayType::Generic ||
                        entry.displayType == DisplayType::Server || entry.displayType == DisplayType::Share))
            continue;
        if (!domain)
            m_microsoftNetwork = IsMicrosoftNetwork(entry.remoteName);
        if (!m_microsoftNetwork)
            continue;
        if (domain) {
            QTreeWidgetItem* item =
                AddItem(parent, WithoutLeadingBackslashes(entry.remoteName), kImageDomain);
            AddItem(item, kPlaceholder, kImagePlaceholder);
        } else {
            // A container's domains join the same level.
            FillNetwork(&entry, parent);
        }
    }
    network.CloseEnum(handle);
}

void CAddServers::OnItemExpanded(QTreeWidgetItem* item) {
    CWaitCursor wait(&m_frame);
    while (item->childCount() > 0)
        delete item->takeChild(0);
    FillDomain(item);
}

void CAddServers::FillDomain(QTreeWidgetItem* domainItem) {
    QStringList servers;
    CAccountLists::DialinServers(m_doc.Environment().Network(), domainItem->text(0).left(50), &servers);
    for (const QString& name : servers)
        AddItem(domainItem, name, kImageServer);
}

void CAddServers::OnSelectionChanged() {
    const QList<QTreeWidgetItem*> selected = m_tree->selectedItems();
    QTreeWidgetItem* item = selected.isEmpty() ? nullptr : selected.first();
    if (item && item->data(0, ImageRole).toInt() == kImageServer) {
        m_add->setEnabled(true);
        m_name->setText(item->text(0));
    } else {
        m_add->setEnabled(false);
        m_name->clear();
    }
}

void CAddServers::OnNameChanged(const QString& text) {
    m_add->setEnabled(!text.isEmpty());
}

void CAddServers::ProvideRouterLibrary(const QString& serverPath) {
    DWORD known = 0;
    m_doc.ReadRegDWORD({}, u"Client"_s, u"NewbieMPRAPI"_s, &known);
    if (known == 1)
        return;
    const CEnvironment& env = m_doc.Environment();
    HMODULE module = nullptr;
    if (env.Modules().Load("mprapi.dll", LoadFlags::None, &module) == Err::Success) {
        env.Modules().Free(module);
        return;
    }
    // Take the server's own copy; whatever happens is not reported.
    namespace fs = std::filesystem;
    fs::path source, target;
    if (env.Shares().Resolve(CAnsi::FromQString(serverPath) + "\\admin$\\system32\\mprapi.dll", &source) !=
            Err::Success ||
        env.Shares().Resolve(env.System().SystemDirectory() + "\\mprapi.dll", &target) != Err::Success)
        return;
    std::error_code ec;
    if (!fs::is_regular_file(source, ec))
        return;
    fs::create_directories(target.parent_path(), ec);
    fs::copy_file(source, target, fs::copy_options::skip_existing, ec);
}

void CAddServers::OnAdd() {
    CWaitCursor wait(&m_frame);
    const QString name = m_name->text();
    const QString path = name.startsWith(u'\\') ? name : u"\\\\"_s + name;
    if (m_doc.Registry().IsRRAS(path))
        ProvideRouterLibrary(path);

    if (m_doc.Servers().AddServer(name)) {
        ++m_added;
        m_name->clear();
        m_add->setEnabled(false);
        m_name->setFocus();
        m_doc.UpdateAllViews(nullptr, Hint::ServerListChanged);
        m_doc.UpdateServerData(name, true);
    } else {
        m_doc.Environment().Prompter().Message(u"Server %1 is already monitored"_s.arg(name), {},
                                               IPrompter::Icon::Error, IPrompter::Buttons::Ok);
        m_name->clear();
    }
}

void CAddServers::OnClose() {
    m_fillTimer.stop();
    done(m_added > 0 ? QDialog::Accepted : QDialog::Rejected);
}

// Escape and the window's close box end the dialog as Close does.
void CAddServers::reject() {
    OnClose();
}
