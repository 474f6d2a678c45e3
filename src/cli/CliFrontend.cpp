#include "cli/CliFrontend.h"

#include "cli/Json.h"

#include <cstring>

namespace tpc::cli {

using nlohmann::json;

CliFrontend::CliFrontend(CliFrontendOptions options, Trace& trace)
    : options_(options), trace_(trace) {}

void CliFrontend::updateProgress(const core::ProgressMessage& message) {
    trace_.write({{"event", "progress"}, {"message", toJson(message)}});
    progress_.apply(message);
    drawProgress();
}

void CliFrontend::drawProgress() {
    if (!progress_.visible && !sheetShown_)
        return;
    std::string line = progress_.status;
    if (options_.terminal) {
        constexpr int width = 30;
        double span = progress_.maxValue - progress_.minValue;
        double fraction = span > 0 ? (progress_.value - progress_.minValue) / span : 0;
        fraction = fraction < 0 ? 0 : (fraction > 1 ? 1 : fraction);
        int filled = progress_.determinate ? static_cast<int>(fraction * width) : 0;
        std::string bar(filled, '#');
        bar.resize(width, progress_.determinate ? '.' : '~');
        char pct[16];
        std::snprintf(pct, sizeof pct, "%3d%%", static_cast<int>(fraction * 100));
        std::fprintf(options_.out, "\r\033[K[%s] %s %s", bar.c_str(),
                     progress_.determinate ? pct : "    ", line.c_str());
        std::fflush(options_.out);
        return;
    }
    // Plain lines: one per change of the status text.
    if (!line.empty() && line != " " && line != lastLine_) {
        std::fprintf(options_.out, "%s\n", line.c_str());
        lastLine_ = line;
    }
}

void CliFrontend::beginProgressWindow() {
    trace_.write({{"event", "window"}, {"action", "begin"}});
    sheetShown_ = true;
}

void CliFrontend::endProgressWindow() {
    trace_.write({{"event", "window"}, {"action", "end"}});
    if (sheetShown_ && options_.terminal) {
        std::fprintf(options_.out, "\r\033[K");
        std::fflush(options_.out);
    }
    sheetShown_ = false;
    lastLine_.clear();
}

void CliFrontend::setAbortButton(const std::string& title, std::function<void()> action) {
    trace_.write({{"event", "ui"}, {"action", "abortButton"}, {"title", title}});
    abortAction_ = std::move(action);
}

void CliFrontend::updateTextFieldResult(const std::optional<std::string>& text) {
    trace_.write({{"event", "result"}, {"text", text ? json(*text) : json(nullptr)}});
    result_ = text;
}

int CliFrontend::showAlert(const core::AlertRequest& request) {
    alerts_.push_back(request);
    int answer = options_.assumeYes ? core::AlertDefault : askInteractively(request);
    trace_.write({{"event", "alert"},
                  {"title", request.title},
                  {"message", request.message},
                  {"buttons", request.buttons()},
                  {"answer", answer}});
    return answer;
}

int CliFrontend::askInteractively(const core::AlertRequest& request) {
    auto buttons = request.buttons();
    std::fprintf(options_.out, "\n%s\n%s\n", request.title.c_str(), request.message.c_str());
    if (buttons.empty())
        return core::AlertDefault;
    for (;;) {
        for (std::size_t i = 0; i < buttons.size(); ++i)
            std::fprintf(options_.out, "  %zu) %s%s\n", i + 1, buttons[i].c_str(),
                         i == 0 ? " (default)" : "");
        std::fprintf(options_.out, "Choice [1]: ");
        std::fflush(options_.out);
        char line[64];
        if (!std::fgets(line, sizeof line, options_.in))
            return core::AlertDefault; // end of input: the default button
        line[std::strcspn(line, "\r\n")] = 0;
        if (line[0] == 0)
            return core::AlertDefault;
        char* end = nullptr;
        long choice = std::strtol(line, &end, 10);
        if (end && *end == 0 && choice >= 1 && static_cast<std::size_t>(choice) <= buttons.size())
            return request.resultForButtonIndex(static_cast<std::size_t>(choice - 1));
        std::fprintf(options_.out, "Please answer with a number from 1 to %zu.\n", buttons.size());
    }
}

void CliFrontend::setSubtitle(core::MainButton button, const std::optional<std::string>& text) {
    trace_.write({{"event", "subtitle"},
                  {"button", core::mainButtonName(button)},
                  {"text", text ? json(*text) : json(nullptr)}});
    subtitles_[button] = text;
}

std::optional<std::string> CliFrontend::subtitle(core::MainButton button) const {
    auto it = subtitles_.find(button);
    return it == subtitles_.end() ? std::nullopt : it->second;
}

void CliFrontend::updateButton(const core::ButtonUpdate& update) {
    json event = {{"event", "ui"}, {"action", "updateButton"}, {"button", update.button}};
    if (update.setEnabled)
        event["setEnabled"] = *update.setEnabled;
    if (update.setHidden)
        event["setHidden"] = *update.setHidden;
    if (update.setTitle)
        event["setTitle"] = *update.setTitle;
    trace_.write(event);
}

void CliFrontend::ui(const std::string& action, const core::Value& detail) {
    json event = {{"event", "ui"}, {"action", action}};
    if (!detail.isNull())
        event["detail"] = toJson(detail);
    trace_.write(event);
}

void CliFrontend::powerEvent(bool registered, bool normal, bool forced) {
    if (registered)
        trace_.write({{"event", "power"},
                      {"action", "register"},
                      {"normal", normal ? 1 : 0},
                      {"forced", forced ? 1 : 0}});
    else
        trace_.write({{"event", "power"}, {"action", "deregister"}});
}

} // namespace tpc::cli
