#pragma once
// What a settings page's apply comes to: written, or refused with the message
// that tells the administrator why (the sheet then stays open).

#include "core/ui/prompter.h"

#include <QString>

struct CApplyResult {
    bool applied = true;
    QString text;
    OCL::IPrompter::Icon icon = OCL::IPrompter::Icon::None;

    static CApplyResult Applied() { return {}; }
    static CApplyResult Refused(const QString& text, OCL::IPrompter::Icon icon) {
        return {false, text, icon};
    }
};
