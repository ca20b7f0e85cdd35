#pragma once
// A gradient caption over the right-hand view: the view's icon and its caption
// text in bold Arial, 12 points high plus 4 pixels.

#include <QColor>
#include <QIcon>
#include <QWidget>

class CCaptionBar : public QWidget {
    Q_OBJECT
public:
    // The look every caption is painted with, set once for the process by the
    // application; until then captions are painted plain in the palette's colours.
    struct Colors {
        QColor start; // the gradient's left end
        QColor end;
        QColor text;
    };
    static void SetDefaults(const Colors& colors);
    static Colors Defaults();

    explicit CCaptionBar(QWidget* parent = nullptr);

    void SetCaption(const QString& text);
    void SetIcon(const QIcon& icon);
    QString Caption() const { return m_text; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    // The caption's font: bold Arial at 12 points, with a Japanese face where the
    // system's country is Japan.
    static QFont CaptionFont();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    QIcon m_icon;
};
