#include "gui/dialogs/calendardialog.h"

#include <QCalendarWidget>
#include <QDialogButtonBox>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CCalendarDialog::CCalendarDialog(const QDate& shown, QWidget* parent) : QDialog(parent) {
    setWindowTitle(u"Calendar"_s);
    auto* layout = new QVBoxLayout(this);
    m_calendar = new QCalendarWidget(this);
    m_calendar->setSelectedDate(shown.isValid() ? shown : QDate::currentDate());
    layout->addWidget(m_calendar);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_calendar, &QCalendarWidget::activated, this, &QDialog::accept);
}

QDate CCalendarDialog::SelectedDate() const {
    return m_calendar->selectedDate();
}
