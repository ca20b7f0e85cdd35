#include "gui/toolkit/outbar.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

COutBar::COutBar(QWidget* parent) : QWidget(parent) {
    setObjectName(u"outBar"_s);
    setMouseTracking(true);
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, QColor(128, 128, 128));
    setPalette(pal);
}

int COutBar::AddFolder(const QString& title) {
    m_folders.push_back({title, {}});
    update();
    return int(m_folders.size()) - 1;
}

int COutBar::AddItem(int folder, const QString& text, const QIcon& icon16, const QIcon& icon32) {
    m_folders[std::size_t(folder)].items.push_back({text, icon16, icon32});
    update();
    return int(m_folders[std::size_t(folder)].items.size()) - 1;
}

int COutBar::ItemCount(int folder) const {
    return folder < int(m_folders.size()) ? int(m_folders[std::size_t(folder)].items.size()) : 0;
}

QString COutBar::ItemText(int folder, int item) const {
    return m_folders[std::size_t(folder)].items[std::size_t(item)].text;
}

void COutBar::SetLargeIcons(bool large) {
    m_large = large;
    update();
}

void COutBar::SetSelectedItem(int item) {
    m_selected = item;
    update();
}

int COutBar::HeaderHeight() const {
    return fontMetrics().height() + 8;
}

QRect COutBar::ItemRect(int item) const {
    const int top = HeaderHeight() + 8;
    const int pitch = m_large ? 32 + fontMetrics().height() + 14 : 16 + 10;
    return QRect(2, top + item * pitch, width() - 4, pitch - 4);
}

int COutBar::ItemAt(const QPoint& point) const {
    for (int i = 0; i < ItemCount(m_folder); ++i)
        if (ItemRect(i).contains(point))
            return i;
    return -1;
}

void COutBar::ClickItem(int item) {
    if (item < 0 || item >= ItemCount(m_folder))
        return;
    const int refused = m_notify ? m_notify(ItemClicked, m_folder, item) : 0;
    if (!refused)
        SetSelectedItem(item);
}

void COutBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    if (m_folders.empty())
        return;
    // The folder's header button.
    const QRect header(0, 0, width(), HeaderHeight());
    p.fillRect(header, palette().button());
    p.setPen(palette().light().color());
    p.drawLine(header.topLeft(), header.topRight());
    p.setPen(palette().dark().color());
    p.drawLine(header.bottomLeft(), header.bottomRight());
    p.setPen(palette().buttonText().color());
    p.drawText(header, Qt::AlignCenter, m_folders[std::size_t(m_folder)].title);

    const auto& items = m_folders[std::size_t(m_folder)].items;
    for (int i = 0; i < int(items.size()); ++i) {
        const QRect box = ItemRect(i);
        const Item& item = items[std::size_t(i)];
        if (m_large) {
            const QRect icon(box.center().x() - 16, box.top() + 2, 32, 32);
            if (i == m_selected || i == m_hover) {
                p.setPen(i == m_selected ? Qt::black : Qt::white);
                p.setBrush(Qt::NoBrush);
                p.drawRect(icon.adjusted(-2, -2, 1, 1));
            }
            item.large.paint(&p, icon);
            p.setPen(Qt::white);
            p.drawText(QRect(box.left(), icon.bottom() + 3, box.width(), fontMetrics().height() + 2),
                       Qt::AlignHCenter | Qt::AlignTop,
                       fontMetrics().elidedText(item.text, Qt::ElideRight, box.width()));
        } else {
            const QRect icon(box.left() + 4, box.center().y() - 8, 16, 16);
            if (i == m_selected || i == m_hover) {
                p.setPen(i == m_selected ? Qt::black : Qt::white);
                p.drawRect(icon.adjusted(-2, -2, 1, 1));
            }
            item.small.paint(&p, icon);
            p.setPen(Qt::white);
            p.drawText(QRect(icon.right() + 6, box.top(), box.width() - 26, box.height()), Qt::AlignVCenter,
                       item.text);
        }
    }
}

void COutBar::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        ClickItem(ItemAt(event->position().toPoint()));
}

void COutBar::mouseDoubleClickEvent(QMouseEvent* event) {
    // Renaming an item is put to the owner, who refuses it.
    const int item = ItemAt(event->position().toPoint());
    if (item >= 0 && m_notify)
        m_notify(Rename, m_folder, item);
}

void COutBar::mouseMoveEvent(QMouseEvent* event) {
    const int hover = ItemAt(event->position().toPoint());
    if (hover != m_hover) {
        m_hover = hover;
        update();
    }
    if ((event->buttons() & Qt::LeftButton) && hover >= 0 && m_notify)
        m_notify(Drag, m_folder, hover);
}

void COutBar::leaveEvent(QEvent*) {
    m_hover = -1;
    update();
}

void COutBar::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    QAction* large = menu.addAction(u"&Large Icons"_s);
    QAction* small = menu.addAction(u"&Small Icons"_s);
    large->setCheckable(true);
    small->setCheckable(true);
    large->setChecked(m_large);
    small->setChecked(!m_large);
    QAction* chosen = menu.exec(event->globalPos());
    if (chosen == large)
        SetLargeIcons(true);
    else if (chosen == small)
        SetLargeIcons(false);
}
