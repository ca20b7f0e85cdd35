#include "gui/toolkit/propertysheet.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CPropertyPage::CPropertyPage(const QString& title, int helpContext, QWidget* parent)
    : QWidget(parent), m_title(title), m_helpContext(helpContext) {}

void CPropertyPage::SetModified(bool modified) {
    if (m_modified == modified)
        return;
    m_modified = modified;
    emit modifiedChanged(modified);
}

void CPropertyPage::EnsureLoaded() {
    if (m_loaded)
        return;
    m_loaded = true;
    OnLoad();
    SetModified(false);
}

bool CPropertyPage::Apply() {
    if (!m_loaded)
        return true;
    if (!OnApply())
        return false;
    SetModified(false);
    return true;
}

void CPropertyPage::showEvent(QShowEvent* event) {
    EnsureLoaded();
    QWidget::showEvent(event);
}

CPropertySheet::CPropertySheet(const QString& title, bool withHelp, QWidget* parent) : QDialog(parent) {
    setWindowTitle(title);
    setObjectName(u"propertySheet"_s);
    auto* layout = new QVBoxLayout(this);
    m_tabs = new QTabWidget(this);
    layout->addWidget(m_tabs);
    m_buttons = new QDialogButtonBox(this);
    m_buttons->addButton(QDialogButtonBox::Ok);
    m_buttons->addButton(QDialogButtonBox::Cancel);
    m_buttons->addButton(QDialogButtonBox::Apply);
    if (withHelp)
        m_buttons->addButton(QDialogButtonBox::Help);
    layout->addWidget(m_buttons);
    ApplyButton()->setEnabled(false);

    connect(m_buttons, &QDialogButtonBox::accepted, this, &CPropertySheet::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(ApplyButton(), &QPushButton::clicked, this, [this] { ApplyPages(); });
    if (withHelp)
        connect(HelpButton(), &QPushButton::clicked, this, [this] {
            if (m_help && ActivePage())
                m_help(ActivePage()->HelpContext());
        });
}

void CPropertySheet::AddPage(CPropertyPage* page) {
    m_pages.push_back(page);
    m_tabs->addTab(page, page->Title());
    connect(page, &CPropertyPage::modifiedChanged, this, [this] { UpdateApplyButton(); });
}

void CPropertySheet::SetActivePage(int index) {
    m_tabs->setCurrentIndex(index);
}

CPropertyPage* CPropertySheet::ActivePage() const {
    return qobject_cast<CPropertyPage*>(m_tabs->currentWidget());
}

bool CPropertySheet::ApplyPages() {
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (!m_pages[i]->Apply()) {
            m_tabs->setCurrentIndex(int(i));
            return false;
        }
    }
    UpdateApplyButton();
    return true;
}

void CPropertySheet::accept() {
    if (ApplyPages())
        QDialog::accept();
}

void CPropertySheet::UpdateApplyButton() {
    bool modified = false;
    for (CPropertyPage* page : m_pages)
        modified = modified || page->IsModified();
    ApplyButton()->setEnabled(modified);
}

QPushButton* CPropertySheet::OkButton() const {
    return m_buttons->button(QDialogButtonBox::Ok);
}
QPushButton* CPropertySheet::CancelButton() const {
    return m_buttons->button(QDialogButtonBox::Cancel);
}
QPushButton* CPropertySheet::ApplyButton() const {
    return m_buttons->button(QDialogButtonBox::Apply);
}
QPushButton* CPropertySheet::HelpButton() const {
    return m_buttons->button(QDialogButtonBox::Help);
}
