#pragma once
// The photo-library subsystem: the iPhoto page's engine (library, scan, marks, clean).

#include "core/Module.h"
#include "photos/PhotosDriver.h"

namespace tpc::erase {
class Deleter;
}

namespace tpc::photos {

class PhotosModule final : public core::Module {
public:
    PhotosModule(core::Context& ctx, core::TaskRunner& tasks, erase::Deleter& deleter)
        : driver_(ctx, tasks, deleter) {}

    std::string name() const override { return "photos"; }
    // No category of `tpc scan|clean` and of no preset (see PhotosDriver): none is listed.

    PhotosDriver& driver() { return driver_; }

private:
    PhotosDriver driver_;
};

} // namespace tpc::photos
