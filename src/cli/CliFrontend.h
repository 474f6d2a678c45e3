#pragma once
// The command line's interface: a progress bar on a terminal and plain lines otherwise (both on
// standard error, so standard output holds only the result), alerts answered by their default
// button with --yes or without a terminal and asked interactively otherwise, and every event
// written to the trace.

#include "cli/Trace.h"
#include "core/Frontend.h"

#include <cstdio>
#include <functional>
#include <map>

namespace tpc::cli {

struct CliFrontendOptions {
    bool assumeYes = false;  // answer alerts with their default button
    bool terminal = false;   // standard error is a terminal: draw a bar
    std::FILE* out = stderr; // where progress and alerts are shown
    std::FILE* in = stdin;   // where interactive answers are read
};

class CliFrontend final : public core::Frontend {
public:
    CliFrontend(CliFrontendOptions options, Trace& trace);

    void updateProgress(const core::ProgressMessage& message) override;
    void beginProgressWindow() override;
    void endProgressWindow() override;
    void setAbortButton(const std::string& title, std::function<void()> action) override;
    void updateTextFieldResult(const std::optional<std::string>& text) override;
    int showAlert(const core::AlertRequest& request) override;
    void setSubtitle(core::MainButton button, const std::optional<std::string>& text) override;
    void updateButton(const core::ButtonUpdate& update) override;
    void startAnimating() override {}
    void stopAnimating() override {}
    void bringMainWindowToFront() override {}
    void ui(const std::string& action, const core::Value& detail = {}) override;
    void powerEvent(bool registered, bool normal, bool forced) override;

    // What the result line and subtitles last showed (the JSON result of scans and cleans).
    const std::optional<std::string>& resultText() const { return result_; }
    std::optional<std::string> subtitle(core::MainButton button) const;
    // Every alert shown so far, in order (commands report the ones they raised).
    const std::vector<core::AlertRequest>& alerts() const { return alerts_; }
    // The abort action of the running task (Ctrl-C presses it).
    std::function<void()> abortAction() const { return abortAction_; }

private:
    void drawProgress();
    int askInteractively(const core::AlertRequest& request);

    CliFrontendOptions options_;
    Trace& trace_;
    core::ProgressState progress_;
    bool sheetShown_ = false;
    std::string lastLine_;
    std::optional<std::string> result_;
    std::map<core::MainButton, std::optional<std::string>> subtitles_;
    std::function<void()> abortAction_;
    std::vector<core::AlertRequest> alerts_;
};

} // namespace tpc::cli
