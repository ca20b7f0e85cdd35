#include "gui/dialogs/calendardialog.h"

#include "core/doc/cwadmindoc.h"

#include <QCalendarWidget>
#include <QDialogButtonBox>
#include <QTextCharFormat>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CCalendarJump::CCalendarJump(const CCwadminDoc& document, const QDate& shown, QWidget* parent)
    : QDialog(parent), m_doc(document) {
    setWindowTitle(u"Calendar"_s);
    auto* layout = new QVBoxLayout(this);
    m_calendar = new QCalendarWidget(this);
    m_calendar->setObjectName(u"calendar"_s);
    m_calendar->setFirstDayOfWeek(Qt::Sunday);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    connect(m_calendar, &QCalendarWidget::currentPageChanged, this, &CCalendarJump::MarkLoggedDays);
    const QDate start = shown.isValid() ? shown : QDate::currentDate();
    m_calendar->setSelectedDate(start);
    MarkLoggedDays(start.year(), start.month());
    layout->addWidget(m_calendar);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_calendar, &QCalendarWidget::activated, this, &QDialog::accept);
}

void CCalendarJump::MarkLoggedDays(int year, int month) {
    m_calendar->setDateTextFormat(QDate(), QTextCharFormat());
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    // The page shows the ends of the months either side as well.
    const QDate middle(year, month, 15);
    for (int step = -1; step <= 1; ++step) {
        const QDate shown = middle.addMonths(step);
        const quint32 days = m_doc.LoggedDaysOfMonth(shown.year(), shown.month());
        for (int day = 1; day <= shown.daysInMonth(); ++day)
            if (days & (1u << day))
                m_calendar->setDateTextFormat(QDate(shown.year(), shown.month(), day), bold);
    }
}

QDate CCalendarJump::SelectedDate() const {
    return m_calendar->selectedDate();
}
