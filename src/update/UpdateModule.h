#pragma once
// The update check subsystem: one UpdateCheck over the running program's information property
// list and folder, for the front ends' menu command and `tpc update check`.

#include "core/Context.h"
#include "core/Module.h"
#include "update/UpdateCheck.h"

namespace tpc::update {

class UpdateModule final : public core::Module {
public:
    explicit UpdateModule(core::Context& ctx);

    std::string name() const override { return "update"; }
    UpdateCheck& check() { return check_; }

private:
    UpdateCheck check_;
};

} // namespace tpc::update
