#include "platform/SharedFileList.h"

namespace tpc::platform {

core::ArrayRef controlledItems(const core::DictRef&, const std::string&) {
    return nullptr;
}

std::uint64_t sizeofCustomListItemsArrayElements(const core::ArrayRef&) {
    return 0;
}

} // namespace tpc::platform
