#pragma once
// The Browsers page's engine: the catalogue of installed browsers and their items, the scan that
// sizes every item and the clean that runs the marked items' delete operations, marking and
// sorting of the two lists.

#include "core/CategoryEngine.h"
#include "core/CheckList.h"
#include "core/Context.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tpc::browsers {

class BrowserCleaners;
class CookieLists;

class BrowserDriver final : public core::CategoryEngine {
public:
    BrowserDriver(core::Context& ctx, core::TaskRunner& runner, BrowserCleaners& cleaners,
                  CookieLists& cookies);

    std::string name() const override { return "browsers"; }
    core::Category category() const override { return core::Category::Browsers; }
    core::MainButton button() const override { return core::MainButton::Browsers; }
    core::ArrayRef list() const override { return arrayBrowserMainList_; }

    // Builds the main list from the catalogue: one root per installed browser.
    void populateBrowserData();

    void buttonScanClicked(core::Sender sender) override;
    void buttonCleanClicked(core::Sender sender) override;
    std::vector<std::string> markOnly(const std::vector<std::string>& items) override;

    // The worker bodies.
    void scanBrowsers();
    void cleanBrowsers();

    // The sub list shows the items of the selected main row (-1: none).
    void selectMainRow(int row);
    core::ArrayRef subList() const { return arrayBrowserSubList_; }

    // Marking.
    void browserMainListCheckBoxButtonClicked(core::CheckState shown);
    void browserSubListCheckBoxButtonClicked(core::CheckState shown);
    void markAllBrowserMainList(bool on);
    void markAllBrowserSubList(bool on);
    core::CheckState reflectMarkStatusInBrowserMainList() const;
    core::CheckState reflectMarkStatusInBrowserSubList() const;
    // Whether the clean button is enabled: at least one root marked.
    bool enableOrDisableBrowserScanAndCleanButton() const;

    // Sorting.
    void browserMainListPopUpButtonClicked(core::SortChoice choice);
    void browserSubListPopUpButtonClicked(core::SortChoice choice);
    core::SortChoice reflectPopUpButtonTitleInBrowsersMainList() const;

    // The clean's progress maximum for the current list and marks.
    std::uint64_t cleanProgressMaximum() const;

private:
    core::Context& ctx_;
    core::TaskRunner& runner_;
    BrowserCleaners& cleaners_;
    CookieLists& cookies_;
    core::ArrayRef arrayBrowserMainList_;
    core::ArrayRef arrayBrowserSubList_;
};

// Sub items, over all roots, whose "Mark" is 1.
std::uint32_t countMarkedInSubArrayOfArray(const core::ArrayRef& roots);

// Lookup helpers: the first matching index, or 4294967295 when the list is empty or nothing
// matches.
std::uint32_t indexOfUniqueObjectContainedInArray(const core::ArrayRef& array,
                                                  const std::string& object);
std::uint32_t indexOfUniqueObjectContainedInDictArray(const core::ArrayRef& array,
                                                      const std::string& key,
                                                      const std::string& object);
std::uint32_t indexOfUniqueObjectContainedInDictArray(const core::ArrayRef& array,
                                                      const std::string& key1,
                                                      const std::string& key2,
                                                      const std::string& object);

} // namespace tpc::browsers
