#include "gui/app/splash.h"

#include "gui/app/artwork.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

CSplash::CSplash(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setObjectName(u"splash"_s);
    setFixedSize(400, 240);
    if (const QScreen* screen = QApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
}

void CSplash::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.drawPixmap(0, 0, CArtwork::ProductBitmap(size(), devicePixelRatioF()));
}

CAboutDialog::CAboutDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(u"About Callwarden Administrator"_s);
    auto* layout = new QVBoxLayout(this);
    auto* picture = new QLabel(this);
    picture->setPixmap(CArtwork::ProductBitmap(QSize(400, 240), devicePixelRatioF()));
    layout->addWidget(picture);
    auto* text = new QLabel(
        u"Callwarden Administrator %1\nThe console of the Callwarden dial-in tracking service."_s.arg(
            QApplication::applicationVersion()),
        this);
    text->setAlignment(Qt::AlignCenter);
    layout->addWidget(text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}
