#pragma once
// A splitter with a flat, narrow handle.

#include <QSplitter>

class CFlatSplitter : public QSplitter {
    Q_OBJECT
public:
    explicit CFlatSplitter(Qt::Orientation orientation, QWidget* parent = nullptr);

protected:
    QSplitterHandle* createHandle() override;
};
