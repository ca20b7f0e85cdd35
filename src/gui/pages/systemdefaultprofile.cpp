#include "gui/pages/systemdefaultprofile.h"

#include "core/doc/cwadmindoc.h"
#include "core/pages/userprofile.h"
#include "gui/pages/userprop.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CSystemDefaultProfile::CSystemDefaultProfile(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Default Profile"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"systemDefaultProfile"_s);
    auto* layout = new QVBoxLayout(this);
    m_notAllowed =
        new QRadioButton(u"Users without a profile in Callwarden should not be allowed to dial in."_s, this);
    m_notAllowed->setObjectName(u"notAllowed"_s);
    m_allowed = new QRadioButton(u"Users without a profile in Callwarden should be allowed to dial in, and a "
                                 u"Callwarden profile should be created for that user based on the default "
                                 u"profile:"_s,
                                 this);
    m_allowed->setObjectName(u"allowed"_s);
    // A radio button does not wrap; the long choice would stretch the sheet.
    m_allowed->setText(u"Users without a profile in Callwarden should be allowed to dial in, and a\n"
                       u"Callwarden profile should be created for that user based on the default profile:"_s);
    m_defaultProfile = new QPushButton(u"&Default Profile..."_s, this);
    m_defaultProfile->setObjectName(u"defaultProfile"_s);
    layout->addWidget(m_notAllowed);
    layout->addWidget(m_allowed);
    auto* row = new QHBoxLayout;
    row->addSpacing(24);
    row->addWidget(m_defaultProfile);
    row->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
    m_notAllowed->setChecked(true);
    for (QRadioButton* button : {m_notAllowed, m_allowed})
        connect(button, &QRadioButton::clicked, this, [this] {
            UpdateWidgets();
            SetModified();
        });
    connect(m_defaultProfile, &QPushButton::clicked, this, &CSystemDefaultProfile::OnDefaultProfile);
    UpdateWidgets();
}

void CSystemDefaultProfile::OnLoad() {
    const bool allowed = CDefaultAssign::Load(m_doc);
    m_allowed->setChecked(allowed);
    m_notAllowed->setChecked(!allowed);
    UpdateWidgets();
}

bool CSystemDefaultProfile::OnApply() {
    const CApplyResult result = CDefaultAssign::Apply(m_doc, m_allowed->isChecked());
    if (!result.applied)
        m_doc.Environment().Prompter().Message(result.text, {}, result.icon, OCL::IPrompter::Buttons::Ok);
    return result.applied;
}

void CSystemDefaultProfile::OnDefaultProfile() {
    CreateDefaultProfileSheet(m_doc, this)->exec();
}

void CSystemDefaultProfile::UpdateWidgets() {
    m_defaultProfile->setEnabled(m_allowed->isChecked());
}
