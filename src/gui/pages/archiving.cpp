#include "gui/pages/archiving.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/database.h"
#include "core/pages/systemmessages.h"
#include "gui/toolkit/help.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <QVBoxLayout>

#include <climits>

using namespace Qt::StringLiterals;

CSystemArchive::CSystemArchive(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Archiving"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemArchive"_s);
    auto* layout = new QVBoxLayout(this);
    auto* about = new QLabel(u"The Callwarden service can archive logged session data automatically: once a "
                             u"day it moves the logs older than the age below from the current to the "
                             u"migrated session data. An age of 0 days leaves all logs where they are."_s,
                             this);
    about->setWordWrap(true);
    layout->addWidget(about);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Migrate sessions older than"_s, this));
    m_days = new QSpinBox(this);
    m_days->setObjectName(u"days"_s);
    // A stored age outside what the service uses still shows as it is.
    m_days->setRange(INT_MIN, INT_MAX);
    m_days->setMinimumWidth(m_days->fontMetrics().horizontalAdvance(u"0000000"_s) + 24);
    row->addWidget(m_days);
    row->addWidget(new QLabel(u"days."_s, this));
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    connect(m_days, &QSpinBox::valueChanged, this, [this] { SetModified(); });
}

void CSystemArchive::OnLoad() {
    QString why;
    const auto share = LocalDataShare(m_doc, &why);
    m_days->setValue(
        share.empty() ? 0 : CDatabase::AutoArchiveAge(m_doc.Environment().Files(), share / "callward.hw"));
    SetModified(false);
}

bool CSystemArchive::OnApply() {
    QString why;
    const auto share = LocalDataShare(m_doc, &why);
    std::string error;
    if (share.empty() || !CDatabase::SetAutoArchiveAge(m_doc.Environment().Files(), share / "callward.hw",
                                                       m_days->value(), &error)) {
        m_doc.Environment().Prompter().Inform(u"The archiving age could not be saved.\n%1"_s.arg(
                                                  share.empty() ? why : QString::fromStdString(error)),
                                              OCL::IPrompter::Icon::Error);
        return false;
    }
    return true;
}

std::unique_ptr<CPropertySheet> CreateArchiving(CCwadminDoc& document, QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"Archiving"_s, true, parent);
    sheet->AddPage(new CSystemArchive(document));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}
