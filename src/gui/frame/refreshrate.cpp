#include "gui/frame/refreshrate.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>

#include <cstdlib>

using namespace Qt::StringLiterals;

const CRefreshRate::Choice CRefreshRate::kTable[kChoices] = {
    {"Never update server data", 0}, {"5 seconds", 5000},     {"10 seconds", 10000},  {"15 seconds", 15000},
    {"20 seconds", 20000},           {"30 seconds", 30000},   {"minute", 60000},      {"2 minutes", 120000},
    {"3 minutes", 180000},           {"5 minutes", 300000},   {"10 minutes", 600000}, {"15 minutes", 900000},
    {"20 minutes", 1200000},         {"30 minutes", 1800000}, {"hour", 3600000},      {"2 hours", 7200000},
    {"3 hours", 10800000},           {"6 hours", 21600000},   {"12 hours", 43200000}, {"day", 86400000},
    {"2 days", 172800000},           {"3 days", 259200000},   {"5 days", 432000000},  {"week", 604800000}};

int CRefreshRate::PositionFor(int rate) {
    const long magnitude = std::labs(long(rate));
    for (int i = 0; i < kChoices; ++i)
        if (kTable[i].milliseconds >= magnitude)
            return i;
    return kChoices - 1;
}

QString CRefreshRate::TextFor(int position) {
    if (position == 0)
        return QString::fromLatin1(kTable[0].text);
    return u"Update server data every %1"_s.arg(QString::fromLatin1(kTable[position].text));
}

CRefreshRate::CRefreshRate(int rate, OCL::IPrompter* prompter, QWidget* parent)
    : QDialog(parent), m_prompter(prompter), m_rate(rate) {
    setWindowTitle(u"Refresh Rate"_s);
    setObjectName(u"refreshRate"_s);
    auto* layout = new QVBoxLayout(this);
    m_automatic = new QCheckBox(u"&Automatically refresh server data"_s, this);
    layout->addWidget(m_automatic);
    m_slider = new QSlider(Qt::Horizontal, this);
    m_slider->setRange(0, kChoices - 1);
    m_slider->setTickPosition(QSlider::TicksBelow);
    m_slider->setPageStep(1);
    m_slider->setMinimumWidth(320);
    layout->addWidget(m_slider);
    m_text = new QLabel(this);
    m_text->setMinimumWidth(320);
    layout->addWidget(m_text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    const bool on = rate > 0;
    m_automatic->setChecked(on);
    m_slider->setValue(PositionFor(rate));
    m_text->setText(TextFor(m_slider->value()));
    m_slider->setEnabled(on);
    m_text->setEnabled(on);
    connect(m_slider, &QSlider::valueChanged, this, &CRefreshRate::OnSlider);
    connect(m_automatic, &QCheckBox::toggled, this, &CRefreshRate::OnAutomatic);
}

void CRefreshRate::OnSlider(int position) {
    m_rate = kTable[position].milliseconds;
    m_text->setText(TextFor(position));
}

void CRefreshRate::OnAutomatic(bool on) {
    if (!on && m_prompter)
        m_prompter->Message(
            u"Automatic refresh is about to be turn off.\nYou will be still able to manually refresh "
            u"any view by choosing Refresh in the View menu (or pressing F5)."_s,
            u"Automatic refresh off"_s, OCL::IPrompter::Icon::Information, OCL::IPrompter::Buttons::Ok);
    m_rate = -m_rate;
    m_slider->setEnabled(on);
    m_text->setEnabled(on);
}
