#include "ctl/ctlprompter.h"

#include <cstdio>

OCL::IPrompter::Answer CCtlPrompter::Message(const QString& text, const QString&, Icon icon,
                                             Buttons buttons) {
    if (icon == Icon::Error)
        m_failureShown = true;
    {
        // Fetcher threads may report too.
        std::lock_guard lock(m_mutex);
        std::fprintf(stderr, "cwctl: %s\n", text.toLocal8Bit().constData());
    }
    switch (buttons) {
    case Buttons::Ok:
        return Ok;
    case Buttons::OkCancel:
    case Buttons::YesNoCancel:
    case Buttons::YesAllNoCancel:
        return Cancel;
    case Buttons::YesNo:
        return No;
    }
    return Cancel;
}
