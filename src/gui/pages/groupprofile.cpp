#include "gui/pages/groupprofile.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/userprofile.h"
#include "gui/toolkit/help.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>

using namespace Qt::StringLiterals;

namespace {
QLineEdit* SecondsEdit(const QString& name, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(20);
    edit->setValidator(new QRegularExpressionValidator(QRegularExpression(u"[0-9]*"_s), edit));
    edit->setAlignment(Qt::AlignRight);
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(u"0000000000"_s) + 12);
    return edit;
}
} // namespace

CGroupProperties::CGroupProperties(CCwadminDoc& document, const QString& domain, const QString& group,
                                   bool isNew, QWidget* parent)
    : CPropertyPage(u"Settings"_s, 106, parent), m_doc(document), m_domain(domain), m_group(group),
      m_new(isNew) {
    setObjectName(u"groupProperties"_s);
    auto* grid = new QGridLayout(this);
    grid->addWidget(
        new QLabel(u"Here you specify settings that will apply for all members of a group."_s, this), 0, 0, 1,
        4);
    m_sessionOn = new QCheckBox(u"Maximum Session Time allowed"_s, this);
    m_sessionOn->setObjectName(u"sessionOn"_s);
    m_totalOn = new QCheckBox(u"Maximum Total Time allowed"_s, this);
    m_totalOn->setObjectName(u"totalOn"_s);
    m_concurrent = new QCheckBox(u"Allow multiple concurrent sessions."_s, this);
    m_concurrent->setObjectName(u"concurrent"_s);
    m_session = SecondsEdit(u"session"_s, this);
    m_total = SecondsEdit(u"total"_s, this);
    grid->addWidget(m_sessionOn, 1, 0);
    grid->addWidget(m_session, 1, 1);
    grid->addWidget(new QLabel(u"seconds"_s, this), 1, 2);
    grid->addWidget(m_totalOn, 2, 0);
    grid->addWidget(m_total, 2, 1);
    grid->addWidget(new QLabel(u"seconds"_s, this), 2, 2);
    grid->addWidget(m_concurrent, 3, 0, 1, 3);
    grid->setColumnStretch(3, 1);
    grid->setRowStretch(4, 1);
    const std::pair<QCheckBox*, QLineEdit*> toggles[] = {{m_sessionOn, m_session}, {m_totalOn, m_total}};
    for (const auto& [box, edit] : toggles) {
        connect(box, &QCheckBox::toggled, this, &CGroupProperties::UpdateWidgets);
        connect(box, &QCheckBox::clicked, this, [this, edit = edit](bool on) {
            if (on)
                edit->setFocus();
            SetModified();
        });
        connect(edit, &QLineEdit::textEdited, this, [this] { SetModified(); });
    }
    connect(m_concurrent, &QCheckBox::clicked, this, [this] { SetModified(); });
    UpdateWidgets();
}

void CGroupProperties::OnLoad() {
    // A new profile is written as it stands, even with every box off.
    if (m_new)
        return;
    const CGroupProfileValues v = CGroupProfileValues::Load(m_doc, m_domain, m_group);
    m_sessionOn->setChecked(v.sessionOn);
    m_session->setText(v.session);
    m_totalOn->setChecked(v.totalOn);
    m_total->setText(v.total);
    m_concurrent->setChecked(v.concurrent);
    UpdateWidgets();
}

bool CGroupProperties::OnApply() {
    CGroupProfileValues v;
    v.sessionOn = m_sessionOn->isChecked();
    v.session = m_session->text();
    v.totalOn = m_totalOn->isChecked();
    v.total = m_total->text();
    v.concurrent = m_concurrent->isChecked();
    const CApplyResult result = v.Apply(m_doc, m_domain, m_group);
    if (!result.applied)
        m_doc.Environment().Prompter().Message(result.text, {}, result.icon, OCL::IPrompter::Buttons::Ok);
    return result.applied;
}

void CGroupProperties::UpdateWidgets() {
    m_session->setEnabled(m_sessionOn->isChecked());
    m_total->setEnabled(m_totalOn->isChecked());
}

std::unique_ptr<CPropertySheet> CreateGroupProfileSheet(CCwadminDoc& document, const QString& domain,
                                                        const QString& group, bool isNew, QWidget* parent) {
    auto sheet =
        std::make_unique<CPropertySheet>(u"Group Profile for %1\\%2"_s.arg(domain, group), true, parent);
    sheet->setObjectName(u"groupProfileSheet"_s);
    sheet->AddPage(new CGroupProperties(document, domain, group, isNew));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}
