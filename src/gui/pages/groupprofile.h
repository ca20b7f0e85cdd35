#pragma once
// The "Settings" page of a group profile ("Group Profile for %s\%s"): limits
// for every member of one domain group.

#include "gui/toolkit/propertysheet.h"

#include <memory>

class CCwadminDoc;
class QCheckBox;
class QLineEdit;

class CGroupProperties : public CPropertyPage {
    Q_OBJECT
public:
    // isNew: the profile is being created, nothing is read.
    CGroupProperties(CCwadminDoc& document, const QString& domain, const QString& group, bool isNew,
                     QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    void UpdateWidgets();
    CCwadminDoc& m_doc;
    QString m_domain, m_group;
    bool m_new;
    QCheckBox *m_sessionOn, *m_totalOn, *m_concurrent;
    QLineEdit *m_session, *m_total;
};

std::unique_ptr<CPropertySheet> CreateGroupProfileSheet(CCwadminDoc& document, const QString& domain,
                                                        const QString& group, bool isNew, QWidget* parent);
