#pragma once
// A presets model over a settings folder in a temporary directory, and hand-made page rows.

#include "core/Keys.h"
#include "core/Record.h"
#include "core/Settings.h"
#include "core/SizeText.h"
#include "core/SystemLog.h"
#include "core/TaskFlags.h"
#include "presets/PresetModel.h"
#include "presets/PresetStore.h"
#include "support/FakeClock.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tpc::test::presets {

using core::ArrayObj;
using core::ArrayRef;
using core::DictObj;
using core::DictRef;
using core::Value;
using tpc::presets::PresetModel;
using tpc::presets::PresetStore;
using Names = std::vector<std::string>;
namespace ck = core::keys;

inline ArrayRef rowsOf(const std::vector<DictRef>& rows) {
    auto out = ArrayObj::make();
    for (auto& r : rows)
        out->append(Value(r));
    return out;
}

// A row of a category page; a row with children is a root row.
inline DictRef row(const std::string& name, int mark, std::vector<DictRef> children = {}) {
    auto rec = DictObj::make({{ck::DescriptionDictionary,
                               Value(DictObj::make({{ck::Description, name}, {ck::Icon, name}}))},
                              {ck::Mark, mark},
                              {ck::Size, 900},
                              {ck::IsRootItem, !children.empty()}});
    if (!children.empty())
        rec->set(ck::SubListArray, Value(rowsOf(children)));
    return rec;
}

inline DictRef child(const DictRef& rec, const std::string& name) {
    for (const auto& c : core::subList(rec)->dicts())
        if (core::description(c) == name)
            return c;
    throw std::runtime_error("no child " + name);
}

inline Names names(const ArrayRef& rows) {
    Names out;
    for (const auto& r : rows->dicts())
        out.push_back(core::description(r));
    return out;
}

class PresetFixture : public ::testing::Test {
protected:
    void SetUp() override {
        store.loadPresets();
        model.notify = [this](const std::string& what) {
            told.push_back(what);
        };
    }
    static ArrayRef browserRows() {
        return rowsOf({row("Safari", 0, {row("Cookies", 0), row("Internet Cache", 0)}),
                       row("Firefox", 0, {row("Cookies", 0)})});
    }
    static ArrayRef systemRows() { return rowsOf({row("System Logs", 1), row("Trash", 0)}); }
    DictRef at(std::size_t i) { return model.presets()->at(i).dict(); }
    // The presets as a fresh store reads them back from the settings folder.
    ArrayRef reloaded() {
        reloadedStore = std::make_unique<PresetStore>(settings);
        reloadedStore->loadPresets();
        return reloadedStore->presets();
    }

    TempDir home;
    core::SystemLog log{false};
    FakeClock clock;
    core::Settings settings{home / "settings", log, clock};
    PresetStore store{settings};
    core::TaskFlags flags;
    PresetModel model{store, flags};
    Names told;
    std::unique_ptr<PresetStore> reloadedStore;
};

} // namespace tpc::test::presets
