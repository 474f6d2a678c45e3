#include "helper/Removal.h"

#include "erase/Deleter.h"

namespace tpc::helper {

RemoveItem deleterRemoval(core::Clock& clock, core::SystemLog& log) {
    return [&clock, &log](const std::string& path, std::optional<std::uint64_t> method,
                          const std::atomic<bool>& abort) {
        // The method is the 64-bit pattern the client sent; outside 0..8 it writes no pattern
        // and the item is only removed, as in the application.
        const std::int64_t option = method ? static_cast<std::int64_t>(*method) : -1;
        erase::Deleter deleter(erase::DeleterEnv{
            .abortCleaning = abort,
            .deletionOption = [option] { return option; },
            .clock = clock,
            .log = log,
            // The folders above the item were checked when the request came, but the user may
            // have swapped one for a link since: the folder is reached again without links.
            .refuseFolderLinks = true,
        });
        if (method)
            deleter.eraseFiles({path});
        else
            deleter.simpleDeleteFiles({path});
    };
}

} // namespace tpc::helper
