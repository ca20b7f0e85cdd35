#pragma once
// Chooses how often server data is refreshed: 24 choices on a slider, and a box
// that switches automatic refresh off (the rate is then kept negated).

#include "core/ui/prompter.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QSlider;

class CRefreshRate : public QDialog {
    Q_OBJECT
public:
    struct Choice {
        const char* text;
        int milliseconds;
    };
    static constexpr int kChoices = 24;
    static const Choice kTable[kChoices];

    CRefreshRate(int rate, OCL::IPrompter* prompter, QWidget* parent = nullptr);

    int Rate() const { return m_rate; }
    // The first choice whose milliseconds are at least the rate's absolute value.
    static int PositionFor(int rate);
    static QString TextFor(int position);

    QSlider* Slider() const { return m_slider; }
    QCheckBox* AutomaticBox() const { return m_automatic; }
    QLabel* Text() const { return m_text; }

private:
    void OnSlider(int position);
    void OnAutomatic(bool on);

    OCL::IPrompter* m_prompter;
    int m_rate;
    QSlider* m_slider;
    QCheckBox* m_automatic;
    QLabel* m_text;
};
