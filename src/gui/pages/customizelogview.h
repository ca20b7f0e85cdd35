#pragma once
// The log view's "Settings" page, alone in the sheet "Customize View": which
// columns are shown, whether they are sized to their contents after each
// fill, and how session lengths are written.

#include "gui/toolkit/propertysheet.h"

#include <array>
#include <memory>

class CCwadminDoc;
class QCheckBox;
class QRadioButton;

class CCustomizeLogview : public CPropertyPage {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 160;

    explicit CCustomizeLogview(CCwadminDoc& document, QWidget* parent = nullptr);

    // The box of a column id (LogColumn).
    QCheckBox* ColumnBox(int column) const { return m_columns[std::size_t(column)]; }
    QCheckBox* AutoSizeBox() const { return m_autoSize; }
    QRadioButton* ClockFormat() const { return m_clock; }
    QRadioButton* SecondsFormat() const { return m_seconds; }

protected:
    void OnLoad() override;
    // Writes "HistoryViewColumns", "AutoSizeColumns" and "TimeFormatSeconds"
    // and tells every view that the log's display changed.
    bool OnApply() override;

private:
    CCwadminDoc& m_doc;
    std::array<QCheckBox*, 12> m_columns{};
    QCheckBox* m_autoSize;
    QRadioButton* m_clock;
    QRadioButton* m_seconds;
};

std::unique_ptr<CPropertySheet> CreateCustomizeView(CCwadminDoc& document, QWidget* parent);
