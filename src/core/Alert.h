#pragma once
// Modal alerts: the request (either dialect of dictionary) and the result codes.

#include "core/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace tpc::core {

enum AlertResult : int { AlertDefault = 1, AlertAlternate = 0, AlertOther = -1 };

struct AlertRequest {
    std::string title;
    std::string message;
    // A missing button is absent from the alert.
    std::optional<std::string> defaultButton;
    std::optional<std::string> alternateButton;
    std::optional<std::string> otherButton;

    // "title", "body", "defaultButton", "alternateButton", "otherButton".
    static AlertRequest fromPanelDict(const DictRef& dict);
    // "Alert Title", "Alert Message", "Alert Default Button", ...
    static AlertRequest fromMessageDict(const DictRef& dict);

    // The buttons present, in the order default, alternate, other.
    std::vector<std::string> buttons() const;
    // The result code of the button at `index` of buttons().
    int resultForButtonIndex(std::size_t index) const;
};

} // namespace tpc::core
