#pragma once
// Walks through the console's main windows on its own, saves a picture of each
// into a folder and quits: what the main command shows on a machine without a
// display (it runs the console under a virtual display).

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <vector>

class CCwadminApp;
class CMainFrame;
class QWidget;

class CScreenshotTour : public QObject {
    Q_OBJECT
public:
    CScreenshotTour(CCwadminApp& app, const QString& folder);

    QStringList Saved() const { return m_saved; }

private:
    struct Step {
        int delayMs;
        std::function<void()> action;
    };
    void Next();
    // History: the log view of the network and of one account, its customise
    // page, a print preview and the printout as a PDF.
    void AddHistorySteps(CMainFrame* frame);
    // Statistics, usage, their printouts, the calendar and the export.
    void AddStatsSteps(CMainFrame* frame);
    // Prints the view shown to a PDF and, where poppler is installed, its first page to a picture.
    void PrintToPicture(CMainFrame* frame, const QString& name);
    // The system settings sheet, page by page, and the archiving sheet.
    void AddSettingsSteps(CMainFrame* frame);
    // Find Sessions: the dialog, and an account's whole history found with it.
    void AddSearchSteps(CMainFrame* frame);
    // Profiles: the four pages of an account's sheet, the default profile page,
    // a group's page, the copy dialog and its overwrite question.
    void AddProfileSteps(CMainFrame* frame);
    void Save(QWidget* widget, const QString& name);
    // Opens a modal dialog through open(), waits for it, saves it and closes it.
    void CaptureModal(const QString& name, const std::function<void()>& open,
                      const std::function<void(QWidget*)>& prepare = {});

    CCwadminApp& m_app;
    QString m_folder;
    std::vector<Step> m_steps;
    std::size_t m_next = 0;
    QStringList m_saved;
    QString m_user;
};
