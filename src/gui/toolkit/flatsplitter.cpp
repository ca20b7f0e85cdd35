#include "gui/toolkit/flatsplitter.h"

#include <QPainter>

namespace {

class FlatHandle : public QSplitterHandle {
public:
    FlatHandle(Qt::Orientation orientation, QSplitter* parent) : QSplitterHandle(orientation, parent) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), palette().window());
        p.setPen(palette().mid().color());
        if (orientation() == Qt::Horizontal)
            p.drawLine(width() / 2, 0, width() / 2, height());
        else
            p.drawLine(0, height() / 2, width(), height() / 2);
    }
};

} // namespace

CFlatSplitter::CFlatSplitter(Qt::Orientation orientation, QWidget* parent) : QSplitter(orientation, parent) {
    setHandleWidth(4);
    setChildrenCollapsible(false);
}

QSplitterHandle* CFlatSplitter::createHandle() {
    return new FlatHandle(orientation(), this);
}
