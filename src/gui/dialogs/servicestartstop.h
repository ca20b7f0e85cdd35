#pragma once
// Starts or stops the Callwarden service or the server's remote-access service
// and shows the seconds elapsed until the service has left its pending state.

#include "platform/servicecontrol.h"

#include <QDialog>
#include <QTimer>

class CCwadminDoc;
class QLabel;

class CServiceStartStop : public QDialog {
    Q_OBJECT
public:
    static constexpr int TIMER_ID_SERVICE = 14;

    CServiceStartStop(CCwadminDoc& document, const QString& server, bool trackingService, bool start,
                      QWidget* parent = nullptr);
    ~CServiceStartStop() override;

    // One tick of timer 14: the first issues the request, later ones watch the
    // service until it leaves its pending state.
    void OnTimer(int id);
    QTimer& Timer() { return m_timer; }

    QString ActionText() const;
    QString ElapsedText() const;
    int Ticks() const { return m_ticks; }
    // The service the request is for on this tick's view of the server.
    QString ServiceName() const;

    void done(int result) override;

private:
    void OnTick();
    void ErrorReport(int error, OCL::DWORD code);
    void CloseHandles();

    CCwadminDoc& m_doc;
    QString m_server;
    bool m_trackingService;
    bool m_start;
    int m_ticks = 0;
    bool m_issued = false;
    OCL::SC_HANDLE m_manager = nullptr;
    OCL::SC_HANDLE m_service = nullptr;
    QLabel* m_action;
    QLabel* m_elapsed;
    QTimer m_timer;
};
