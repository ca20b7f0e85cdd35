#pragma once
// The start-up splash (no caption, centred on the screen) and the About box,
// both showing the product picture.

#include <QDialog>
#include <QWidget>

class CSplash : public QWidget {
    Q_OBJECT
public:
    explicit CSplash(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

class CAboutDialog : public QDialog {
    Q_OBJECT
public:
    explicit CAboutDialog(QWidget* parent = nullptr);
};
