#pragma once
// The port detail view's load graph: the recent outgoing and incoming load of a
// line, newest on the right, over a grid that scrolls with it.

#include <QList>
#include <QWidget>

class CLoadGraph : public QWidget {
    Q_OBJECT
public:
    explicit CLoadGraph(QWidget* parent = nullptr);

    // Both histories, oldest first; at most `capacity` samples are shown.
    void SetHistory(const QList<qint64>& outgoing, const QList<qint64>& incoming, int capacity);
    // The load at the top of the scale: a line kept busy from one reading to the
    // next. Higher values (the first reading counts the whole session so far)
    // are drawn at the top.
    qint64 Scale() const;

    QSize sizeHint() const override { return {220, 120}; }
    QSize minimumSizeHint() const override { return {160, 90}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QList<qint64> m_outgoing;
    QList<qint64> m_incoming;
    int m_capacity = 60;
    int m_shift = 0;
};
