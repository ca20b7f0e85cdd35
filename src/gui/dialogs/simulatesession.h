#pragma once
// "Simulate Activity": sends simulated connects and hang-ups of an account on a
// server's port to the service, shows its answer and how long it took.
//
// Requests run on the user-interface thread and may hold it for the pipe's
// time-out. The two counters compare requests, not sessions: a hang-up counts
// whatever the service answered.

#include <QDialog>

class CCwadminDoc;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

class CSimulateSession : public QDialog {
    Q_OBJECT
public:
    static constexpr int kHelpContext = 112;

    CSimulateSession(CCwadminDoc& document, QWidget* parent = nullptr);
    ~CSimulateSession() override;

    void OnConnect();
    void OnHangUp();
    // Asks before closing while connects accepted and hang-ups sent differ.
    void reject() override;

    int ConnectsAccepted() const { return m_connectsAccepted; }
    int HangUpsSent() const { return m_hangUpsSent; }

    QComboBox* ServerList() const { return m_servers; }
    QComboBox* PortList() const { return m_ports; }
    QLineEdit* AccountEdit() const { return m_account; }
    QPushButton* ConnectButton() const { return m_connect; }
    QPushButton* HangUpButton() const { return m_hangUp; }
    QPushButton* CloseButton() const { return m_close; }
    QPushButton* HelpButton() const { return m_help; }
    QString OutcomeText() const;
    QString TimingText() const;

    static QString ClosingQuestion();

private:
    enum class Action { Connect, HangUp };
    void Send(Action action);
    void FillPorts();
    void UpdateWidgets();

    CCwadminDoc& m_doc;
    QComboBox* m_servers;
    QComboBox* m_ports;
    QLineEdit* m_account;
    QPushButton* m_connect;
    QPushButton* m_hangUp;
    QPushButton* m_close;
    QPushButton* m_help;
    QLabel* m_outcome;
    QLabel* m_timing;
    int m_connectsAccepted = 0;
    int m_hangUpsSent = 0;
};
