#pragma once
// The one-page sheet "Archiving": the age after which the service moves the
// day logs to the migrated session data by itself.

#include "gui/toolkit/propertysheet.h"

#include <memory>

class CCwadminDoc;
class QSpinBox;

class CSystemArchive : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 175;

    explicit CSystemArchive(CCwadminDoc& document, QWidget* parent = nullptr);

protected:
    void OnLoad() override;
    bool OnApply() override;

private:
    CCwadminDoc& m_doc;
    QSpinBox* m_days;
};

std::unique_ptr<CPropertySheet> CreateArchiving(CCwadminDoc& document, QWidget* parent);
