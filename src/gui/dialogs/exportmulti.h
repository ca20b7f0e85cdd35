#pragma once
// Exporting the logged sessions of many days to one comma-separated file:
// the dialog that asks which days and where to, the date fields it uses, and
// the progress of the export with its Cancel.

#include "core/stats/sessionexport.h"

#include <QDateEdit>
#include <QDialog>

class CCwadminDoc;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSpinBox;

// A date field that drops a month calendar down, weeks starting on Sunday.
class CDatePicka : public QDateEdit {
    Q_OBJECT
public:
    explicit CDatePicka(const QDate& date, QWidget* parent = nullptr);
};

class CExportMulti : public QDialog {
    Q_OBJECT
public:
    CExportMulti(CCwadminDoc& document, QWidget* parent = nullptr);

    CSessionExportSettings Settings() const;
    // Validates, then runs the export; the dialog closes once it is written.
    void OnExport();
    void OnBrowse();
    // What the last run gave.
    const CSessionExportResult& Result() const { return m_result; }

private:
    CCwadminDoc& m_doc;
    QRadioButton* m_modes[3];
    QSpinBox* m_days;
    CDatePicka* m_from;
    CDatePicka* m_to;
    QLineEdit* m_fileName;
    CSessionExportResult m_result;
};

// Runs the export as soon as it is shown and closes when it ends. The export
// runs on this thread: the document moves its shown day through the days, so
// the window is kept answering by serving events at every day's progress.
class CExportMultiProgress : public QDialog {
    Q_OBJECT
public:
    CExportMultiProgress(CCwadminDoc& document, CSessionExportSettings settings, QWidget* parent = nullptr);

    const CSessionExportResult& Result() const { return m_result; }
    QProgressBar* Bar() const { return m_bar; }
    void Cancel() { m_cancelled = true; }
    void reject() override;

signals:
    // After every day, with the percentage done.
    void progressed(int percent);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void Run();

    CCwadminDoc& m_doc;
    CSessionExportSettings m_settings;
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    CSessionExportResult m_result;
    bool m_started = false;
    bool m_running = false;
    bool m_cancelled = false;
};
