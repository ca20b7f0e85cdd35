#pragma once
// What the cases that run the console's own code share: the application object
// (offscreen unless a platform is set) and a prompter that answers every box.

#include "core/ui/prompter.h"

#include <QApplication>

namespace CwBench {

class CSilentPrompter final : public OCL::IPrompter {
public:
    Answer Message(const QString&, const QString&, Icon, Buttons) override {
        ++shown;
        return Ok;
    }
    QString SaveFileName(const QString&, const QString&, const QString&, const QString&) override {
        return {};
    }
    QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }
    int shown = 0;
};

QApplication& Application();

} // namespace CwBench
