#include "gui/toolkit/captionbar.h"

#include <QLinearGradient>
#include <QLocale>
#include <QPainter>
#include <QScreen>

using namespace Qt::StringLiterals;

CCaptionBar::CCaptionBar(QWidget* parent) : QWidget(parent) {
    setObjectName(u"captionBar"_s);
    setFont(CaptionFont());
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QFont CCaptionBar::CaptionFont() {
    QFont font(u"Arial"_s);
    if (QLocale::system().territory() == QLocale::Japan)
        font.setFamilies({u"MS UI Gothic"_s, u"Noto Sans CJK JP"_s, u"Arial"_s});
    font.setPointSize(12);
    font.setBold(true);
    return font;
}

void CCaptionBar::SetCaption(const QString& text) {
    m_text = text;
    update();
}

void CCaptionBar::SetIcon(const QIcon& icon) {
    m_icon = icon;
    update();
}

QSize CCaptionBar::sizeHint() const {
    // 12 points in screen pixels, plus 4.
    const qreal dpi = screen() ? screen()->logicalDotsPerInchY() : 96.0;
    return {200, int(12 * dpi / 72.0 + 0.5) + 4};
}

void CCaptionBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    QLinearGradient gradient(rect().topLeft(), rect().topRight());
    gradient.setColorAt(0, QColor(10, 36, 106));
    gradient.setColorAt(1, QColor(166, 202, 240));
    p.fillRect(rect(), gradient);
    int x = 4;
    const int side = height() - 4;
    if (!m_icon.isNull()) {
        m_icon.paint(&p, QRect(x, 2, side, side));
        x += side + 4;
    }
    p.setPen(Qt::white);
    p.setFont(font());
    p.drawText(QRect(x, 0, width() - x - 4, height()), Qt::AlignVCenter | Qt::AlignLeft,
               fontMetrics().elidedText(m_text, Qt::ElideRight, width() - x - 4));
}
