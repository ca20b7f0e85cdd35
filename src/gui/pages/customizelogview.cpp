#include "gui/pages/customizelogview.h"

#include "core/doc/cwadmindoc.h"
#include "core/log/logtexts.h"
#include "gui/toolkit/help.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QRadioButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
const QString kClient = u"Client"_s;
// The boxes stand in two columns of six.
constexpr int kBoxRows = 6;
} // namespace

CCustomizeLogview::CCustomizeLogview(CCwadminDoc& document, QWidget* parent)
    : CPropertyPage(u"Settings"_s, kHelpContext, parent), m_doc(document) {
    setObjectName(u"customizeLogview"_s);
    auto* layout = new QVBoxLayout(this);

    auto* columns = new QGroupBox(u"Display Columns"_s, this);
    auto* grid = new QGridLayout(columns);
    for (int id = 0; id < LogColumn::Count; ++id) {
        auto* box = new QCheckBox(LogColumn::CustomizeLabel(id), columns);
        box->setObjectName(u"column%1"_s.arg(id));
        grid->addWidget(box, id % kBoxRows, id / kBoxRows);
        connect(box, &QCheckBox::toggled, this, [this] { SetModified(); });
        m_columns[std::size_t(id)] = box;
    }
    // The time is always shown.
    m_columns[LogColumn::Time]->setEnabled(false);
    layout->addWidget(columns);

    m_autoSize = new QCheckBox(u"Autosize Columns"_s, this);
    m_autoSize->setObjectName(u"autoSize"_s);
    connect(m_autoSize, &QCheckBox::toggled, this, [this] { SetModified(); });
    layout->addWidget(m_autoSize);

    auto* lasted = new QGroupBox(u"Session Lasted"_s, this);
    auto* radios = new QVBoxLayout(lasted);
    m_clock = new QRadioButton(u"Time format hh\"mm'ss"_s, lasted);
    m_clock->setObjectName(u"clockFormat"_s);
    m_seconds = new QRadioButton(u"Time format in seconds"_s, lasted);
    m_seconds->setObjectName(u"secondsFormat"_s);
    radios->addWidget(m_clock);
    radios->addWidget(m_seconds);
    connect(m_seconds, &QRadioButton::toggled, this, [this] { SetModified(); });
    layout->addWidget(lasted);
    layout->addStretch(1);
}

void CCustomizeLogview::OnLoad() {
    for (int id = 0; id < LogColumn::Count; ++id)
        m_columns[std::size_t(id)]->setChecked(id == LogColumn::Time || (m_doc.m_historyColumns >> id) & 1u);
    m_autoSize->setChecked(m_doc.m_autoSizeColumns != 0);
    (m_doc.m_showSeconds != 0 ? m_seconds : m_clock)->setChecked(true);
    SetModified(false);
}

bool CCustomizeLogview::OnApply() {
    quint32 mask = 1u << LogColumn::Time;
    for (int id = 0; id < LogColumn::Count; ++id)
        if (m_columns[std::size_t(id)]->isChecked())
            mask |= 1u << id;
    const bool autoSize = m_autoSize->isChecked();
    const bool seconds = m_seconds->isChecked();
    m_doc.SetRegDWORD({}, kClient, u"HistoryViewColumns"_s, mask);
    // Stored inverted: 1 means the columns keep the widths the user gave them.
    m_doc.SetRegDWORD({}, kClient, u"AutoSizeColumns"_s, autoSize ? 0 : 1);
    m_doc.SetRegDWORD({}, kClient, u"TimeFormatSeconds"_s, seconds ? 1 : 0);
    m_doc.m_historyColumns = mask;
    m_doc.m_autoSizeColumns = autoSize ? 1 : 0;
    m_doc.m_showSeconds = seconds ? 1 : 0;
    m_doc.UpdateAllViews(nullptr, Hint::LogDisplayChanged);
    return true;
}

std::unique_ptr<CPropertySheet> CreateCustomizeView(CCwadminDoc& document, QWidget* parent) {
    auto sheet = std::make_unique<CPropertySheet>(u"Customize View"_s, true, parent);
    sheet->AddPage(new CCustomizeLogview(document));
    sheet->SetHelpHandler([page = sheet.get()](int context) { CHelp::Show(context, page); });
    return sheet;
}
