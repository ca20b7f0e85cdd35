#pragma once
// Picks a day of the session history.

#include <QDate>
#include <QDialog>

class QCalendarWidget;

class CCalendarDialog : public QDialog {
    Q_OBJECT
public:
    CCalendarDialog(const QDate& shown, QWidget* parent = nullptr);
    QDate SelectedDate() const;

private:
    QCalendarWidget* m_calendar;
};
