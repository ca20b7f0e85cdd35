#pragma once
// An outlook-style navigation bar: folders, each a header button, holding items
// drawn with a large (32-pixel) or small (16-pixel) icon and a text. Every
// change the user attempts is put to the owner first through a notice:
// 1 item clicked, 2 rename, 3 drag, 4 other edits; an answer of 1 refuses it.

#include <QIcon>
#include <QWidget>

#include <functional>
#include <vector>

class COutBar : public QWidget {
    Q_OBJECT
public:
    enum Notice { ItemClicked = 1, Rename = 2, Drag = 3, Edit = 4 };
    using NotifyHandler = std::function<int(int notice, int folder, int item)>;

    explicit COutBar(QWidget* parent = nullptr);

    int AddFolder(const QString& title);
    int AddItem(int folder, const QString& text, const QIcon& icon16, const QIcon& icon32);
    void SetNotifyHandler(NotifyHandler handler) { m_notify = std::move(handler); }
    void SetLargeIcons(bool large);
    bool LargeIcons() const { return m_large; }
    void SetSelectedItem(int item);
    int SelectedItem() const { return m_selected; }
    int SelectedFolder() const { return m_folder; }
    int ItemCount(int folder) const;
    QString ItemText(int folder, int item) const;
    // The item's rectangle, for tests and tool tips.
    QRect ItemRect(int item) const;
    // What a click on the item does: asks the owner with notice 1.
    void ClickItem(int item);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    struct Item {
        QString text;
        QIcon small;
        QIcon large;
    };
    struct Folder {
        QString title;
        std::vector<Item> items;
    };
    int HeaderHeight() const;
    int ItemAt(const QPoint& point) const;

    std::vector<Folder> m_folders;
    int m_folder = 0;
    int m_selected = -1;
    int m_hover = -1;
    bool m_large = true;
    NotifyHandler m_notify;
};
