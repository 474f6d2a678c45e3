#include "core/CategoryDispatch.h"

#include "core/MainThread.h"
#include "core/Record.h"

namespace tpc::core {

std::vector<RowSnapshot> rowSnapshots(const ArrayRef& rows) {
    std::vector<RowSnapshot> out;
    if (!rows)
        return out;
    for (const auto& rec : rows->dicts())
        out.push_back({rec, Value(rec).deepCopy().dict(), isMarked(rec)});
    return out;
}

RecordSnapshot snapshotRecord(MainThread& main, const DictRef& record) {
    RecordSnapshot out;
    if (!record)
        return out;
    main.invoke([&record, &out] {
        out.description = description(record);
        out.children = rowSnapshots(subList(record));
    });
    return out;
}

} // namespace tpc::core
