#pragma once
// The account status of the dial-in users the service keeps in its account
// file: sessions, denials, last session and total time per account, for the
// account, domain or group selected in the tree, or for all accounts. Rows can
// be deleted (profile and statistics together), copied, saved and printed. An
// extra pair of columns, off unless asked for, shows how much of each limit an
// account has used.

#include "core/accounts/usersmodel.h"
#include "gui/views/rightview.h"

#include <QTimer>

class QAction;
class QMenu;
class QPainter;
class QTreeView;

inline constexpr int TIMER_ID_USERS_REFRESH = 18;

class CUsersView : public CRightView {
    Q_OBJECT
public:
    CUsersView(CCwadminDoc& document, CMainFrame& frame, QWidget* parent = nullptr);
    ~CUsersView() override;

    void OnInitialUpdate() override;
    void OnUpdate(IView* sender, int hint, const CHintObject* hintObject) override;

    bool CanEditCopy() const override;
    void OnEditCopy() override;
    bool CanEditDelete() const override;
    void OnEditDelete() override;
    bool CanPrint() const override { return true; }
    // Prints every row, page after page; the preview paints through it too.
    void Print(QPrinter* printer) override;

    // Hint 22: the accounts of the selection, in file order.
    void FillList();
    // A click on a header.
    void OnHeaderClicked(int column);
    // Timer 18: the account file read again; order, selection and scroll kept.
    void OnTimer(int id);
    void OnFilePrint();
    void OnFilePrintPreview();
    void SetLimitColumns(bool shown);
    // "&Modify Profile" (and a double-click): the first selected account's sheet.
    void OnModifyProfile();
    // "&Copy Profile...": the first selected account's profile to others.
    void OnCopyProfile();

    QTreeView* List() const { return m_list; }
    CUsersModel* Model() const { return m_model; }
    QTimer& RefreshTimer() { return m_timer; }
    QAction* DeleteAction() const { return m_delete; }
    QAction* ModifyAction() const { return m_modify; }
    QAction* CopyProfileAction() const { return m_copyProfile; }
    QAction* LimitsAction() const { return m_limits; }
    // The list's and the header's menus, as a right-click shows them.
    QMenu* ContextMenu();

private:
    void UpdateActions();
    // The first selected row's account, empty when none is.
    QString FirstSelected() const;
    void PaintPage(QPainter& painter, const QRect& page, int pageNumber, int pages, int firstRow,
                   int rowsPerPage) const;

    QTreeView* m_list;
    CUsersModel* m_model;
    CUserFilter m_filter;
    QTimer m_timer;
    QAction* m_delete;
    QAction* m_modify;
    QAction* m_copyProfile;
    QAction* m_copy;
    QAction* m_save;
    QAction* m_print;
    QAction* m_preview;
    QAction* m_limits;
    QMenu* m_menu;
};
