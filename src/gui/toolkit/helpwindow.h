#pragma once
// The help window: the topics of the help folder with their contents and an
// index of their headings on the left, the topic on the right, and back,
// forward and contents commands.

#include <QWidget>

class QAction;
class QLineEdit;
class QListWidget;
class QTextBrowser;

class CHelpWindow : public QWidget {
    Q_OBJECT
public:
    // folder holds the topics; an empty or missing folder shows why there is no help.
    explicit CHelpWindow(const QString& folder, QWidget* parent = nullptr);

    // Shows a file of the folder ("topic150.html").
    void Open(const QString& file);
    // The file shown; empty when it is not a file of the folder.
    QString CurrentFile() const;

    QTextBrowser* Browser() const { return m_browser; }
    QListWidget* ContentsList() const { return m_contents; }
    QListWidget* IndexList() const { return m_index; }
    QLineEdit* IndexFilter() const { return m_filter; }
    QAction* BackAction() const { return m_back; }
    QAction* ForwardAction() const { return m_forward; }
    QAction* ContentsAction() const { return m_home; }

private:
    void LoadTopics();
    void FilterIndex(const QString& text);
    void OpenItemFile(const class QListWidgetItem* item);
    void ShowMissing(const QString& file);

    QString m_folder;
    QTextBrowser* m_browser;
    QListWidget* m_contents;
    QListWidget* m_index;
    QLineEdit* m_filter;
    QAction* m_back;
    QAction* m_forward;
    QAction* m_home;
};
