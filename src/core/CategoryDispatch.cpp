#include "core/CategoryDispatch.h"

#include "core/MainThread.h"
#include "core/Record.h"
#include "core/SizeText.h"

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

std::optional<SelectionTotals> countRowSelection(MainThread& main, const DictRef& record,
                                                 const std::string& drives,
                                                 const RowsCount& count) {
    const auto selection = snapshotRecord(main, record);
    if (selection.description != drives)
        return SelectionTotals{};
    const auto totals = count(selection.children);
    if (totals)
        main.invoke([&record, &totals] { setSize(record, totals->bytes); });
    return totals;
}

bool cleanRowSelection(MainThread& main, const DictRef& record, const std::string& drives,
                       const RowsClean& clean) {
    const auto selection = snapshotRecord(main, record);
    if (selection.description != drives)
        return true;
    return clean(selection.children);
}

} // namespace tpc::core
