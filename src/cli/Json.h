#pragma once
// Values as JSON, as the command line prints them: keys verbatim, "Parent" left out, dates as
// ISO 8601 UTC text, data as base64 text.

#include "core/ProgressMessage.h"
#include "core/Value.h"

#include <nlohmann/json.hpp>

namespace tpc::cli {

nlohmann::json toJson(const core::Value& value);
nlohmann::json toJson(const core::ProgressMessage& message);
std::string isoDate(const core::Date& date);
std::string base64(const core::Data& data);
// A value as one line of readable text (strings unquoted).
std::string toText(const core::Value& value);

} // namespace tpc::cli
