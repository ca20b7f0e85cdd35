#pragma once
// "Find Sessions": the events of any range of days for an account, domain,
// group, server or port, with an action and a reason, answered from the
// session index and shown in the log view.
//
// The index is brought up to date by a worker thread while the dialog is
// open; the window keeps working and a search meanwhile answers for the days
// indexed so far, naming the others.

#include "core/search/historysource.h"

#include <QDialog>

#include <atomic>
#include <memory>

class CCwadminDoc;
class CMainFrame;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QThread;

class CFindSessions : public QDialog {
    Q_OBJECT
public:
    // Kinds of the "Sessions of" list, in its order.
    enum Kind { Everything, Account, Domain, Group, Server, Port };

    // Preset from the node selected in the tree.
    CFindSessions(CCwadminDoc& document, CMainFrame& frame);
    ~CFindSessions() override;

    // Searches and shows the result in the log view; false when the entries
    // are wrong (said) or the index cannot answer.
    bool OnFind();
    // The query the entries stand for; empty message when they are right.
    CSessionQuery Query(QString* problem) const;
    bool Indexing() const { return m_worker != nullptr; }

    QComboBox* KindList() const { return m_kind; }
    QLineEdit* DomainEdit() const { return m_domain; }
    QLineEdit* NameEdit() const { return m_name; }
    QLineEdit* PortEdit() const { return m_port; }
    QCheckBox* FromCheck() const { return m_useFrom; }
    QCheckBox* ToCheck() const { return m_useTo; }
    QDateEdit* FromEdit() const { return m_from; }
    QDateEdit* ToEdit() const { return m_to; }
    QComboBox* ActionList() const { return m_action; }
    QSpinBox* ReasonSpin() const { return m_reason; }
    QLabel* StatusLabel() const { return m_status; }
    QPushButton* FindButton() const { return m_find; }

signals:
    void IndexingDone();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void UpdateFields();
    void StartIndexing();
    void StopIndexing();
    void OnProgress(int done, int total);
    void OnIndexed(const CSessionIndex::Refreshed& refreshed);

    CCwadminDoc& m_doc;
    CMainFrame& m_frame;
    CHistorySource m_source;
    CSessionIndex m_index;
    bool m_indexOpen = false;
    QThread* m_worker = nullptr;
    std::shared_ptr<std::atomic<bool>> m_stop;
    QComboBox* m_kind;
    QLineEdit *m_domain, *m_name, *m_port;
    QCheckBox *m_useFrom, *m_useTo;
    QDateEdit *m_from, *m_to;
    QComboBox* m_action;
    QSpinBox* m_reason;
    QLabel* m_status;
    QProgressBar* m_progress;
    QPushButton* m_find;
};

// Opens the dialog (one at a time) over the frame.
void ShowFindSessions(CCwadminDoc& document, CMainFrame& frame);
