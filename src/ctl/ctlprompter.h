#pragma once
// The command line's prompter: every message goes to the standard error
// stream; questions are answered No (or Cancel), so nothing is ever changed,
// and no file is ever chosen.

#include "core/ui/prompter.h"

#include <atomic>
#include <mutex>

class CCtlPrompter final : public OCL::IPrompter {
public:
    Answer Message(const QString& text, const QString& caption, Icon icon, Buttons buttons) override;
    QString SaveFileName(const QString&, const QString&, const QString&, const QString&) override {
        return {};
    }
    QString OpenFileName(const QString&, const QString&, const QString&) override { return {}; }

    // True once a failure (a box with the stop icon) was reported.
    bool FailureShown() const { return m_failureShown; }

private:
    std::mutex m_mutex;
    std::atomic<bool> m_failureShown{false};
};
