#include "gui/toolkit/captionbar.h"

#include <QLinearGradient>
#include <QLocale>
#include <QPainter>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {
CCaptionBar::Colors g_defaults;
}

void CCaptionBar::SetDefaults(const Colors& colors) {
    g_defaults = colors;
}

CCaptionBar::Colors CCaptionBar::Defaults() {
    return g_defaults;
}

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
    const Colors colors = g_defaults;
    if (colors.start.isValid() && colors.end.isValid()) {
        QLinearGradient gradient(rect().topLeft(), rect().topRight());
        gradient.setColorAt(0, colors.start);
        gradient.setColorAt(1, colors.end);
        p.fillRect(rect(), gradient);
    } else {
        p.fillRect(rect(), palette().window());
    }
    int x = 4;
    const int side = height() - 4;
    if (!m_icon.isNull()) {
        m_icon.paint(&p, QRect(x, 2, side, side));
        x += side + 4;
    }
    p.setPen(colors.text.isValid() ? colors.text : palette().windowText().color());
    p.setFont(font());
    p.drawText(QRect(x, 0, width() - x - 4, height()), Qt::AlignVCenter | Qt::AlignLeft,
               fontMetrics().elidedText(m_text, Qt::ElideRight, width() - x - 4));
}
