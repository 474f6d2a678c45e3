#pragma once
// What the deletion engine needs of the privileged helper: hand it one item, and know whether a
// request is still outstanding.

#include <string>

namespace tpc::erase {

class HelperGateway {
public:
    virtual ~HelperGateway() = default;
    // Sends one delete or erase request for `path` and returns at once; helperOpsRunning() stays
    // true until the helper has finished it (or the request failed).
    virtual void deleteViaHelperTool(const std::string& path) = 0;
    virtual bool helperOpsRunning() const = 0;
    // Marks no request outstanding (the engine clears it before a new list).
    virtual void clearHelperOpsRunning() = 0;
};

} // namespace tpc::erase
