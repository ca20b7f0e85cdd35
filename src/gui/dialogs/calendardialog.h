#pragma once
// Picks a day of the session history on a month calendar; the days that have
// a log file are bold, for every month the calendar turns to.

#include <QDate>
#include <QDialog>

class CCwadminDoc;
class QCalendarWidget;

class CCalendarJump : public QDialog {
    Q_OBJECT
public:
    CCalendarJump(const CCwadminDoc& document, const QDate& shown, QWidget* parent = nullptr);
    QDate SelectedDate() const;
    QCalendarWidget* Calendar() const { return m_calendar; }

private:
    void MarkLoggedDays(int year, int month);

    const CCwadminDoc& m_doc;
    QCalendarWidget* m_calendar;
};
