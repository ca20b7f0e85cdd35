#pragma once
// A property sheet with OK, Cancel, Apply and (optionally) Help. Each page loads
// its values the first time it is shown and writes them when the sheet applies,
// but only when it has been shown. A page may refuse to apply; the sheet then
// stays open on that page.

#include <QDialog>
#include <QWidget>

#include <functional>
#include <vector>

class QDialogButtonBox;
class QPushButton;
class QTabWidget;

class CPropertyPage : public QWidget {
    Q_OBJECT
public:
    CPropertyPage(const QString& title, int helpContext, QWidget* parent = nullptr);

    QString Title() const { return m_title; }
    int HelpContext() const { return m_helpContext; }
    bool WasShown() const { return m_loaded; }
    bool IsModified() const { return m_modified; }
    void SetModified(bool modified = true);

    // Loads the page unless it already was.
    void EnsureLoaded();
    // Writes the page; false refuses and keeps the sheet open.
    bool Apply();

signals:
    void modifiedChanged(bool modified);

protected:
    virtual void OnLoad() = 0;
    virtual bool OnApply() = 0;
    void showEvent(QShowEvent* event) override;

private:
    QString m_title;
    int m_helpContext;
    bool m_loaded = false;
    bool m_modified = false;
};

class CPropertySheet : public QDialog {
    Q_OBJECT
public:
    using HelpHandler = std::function<void(int context)>;

    CPropertySheet(const QString& title, bool withHelp, QWidget* parent = nullptr);

    void AddPage(CPropertyPage* page);
    int PageCount() const { return int(m_pages.size()); }
    CPropertyPage* Page(int index) const { return m_pages[std::size_t(index)]; }
    void SetActivePage(int index);
    CPropertyPage* ActivePage() const;
    void SetHelpHandler(HelpHandler handler) { m_help = std::move(handler); }

    // Applies the shown pages in order; false at the first refusal.
    bool ApplyPages();

    QPushButton* OkButton() const;
    QPushButton* CancelButton() const;
    QPushButton* ApplyButton() const;
    QPushButton* HelpButton() const;

    void accept() override;

private:
    void UpdateApplyButton();

    QTabWidget* m_tabs;
    QDialogButtonBox* m_buttons;
    std::vector<CPropertyPage*> m_pages;
    HelpHandler m_help;
};
