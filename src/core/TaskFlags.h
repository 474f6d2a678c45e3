#pragma once
// The running and abort flags of every scan and clean, and the queries over them. One task runs
// at a time: starting any task asks every other to abort.

#include <array>
#include <atomic>
#include <string>

namespace tpc::core {

// In the order the queries test them.
enum class Category { Browsers, Shredder, Presets, Recents, System, Ext, IPhoto };
inline constexpr std::array<Category, 7> kAllCategories = {
    Category::Browsers, Category::Shredder, Category::Presets, Category::Recents,
    Category::System,   Category::Ext,      Category::IPhoto};

enum class TaskKind { Scan, Clean };

// "Browser", "Shredder", "Presets", "Recents", "System", "Ext", "IPhoto".
const char* categoryName(Category category);

class TaskFlags {
public:
    // e.g. browserScanRunning, abortPresetClean.
    bool running(Category c, TaskKind k) const;
    bool aborting(Category c, TaskKind k) const;

    void setRunning(Category c, TaskKind k, bool on);
    // A clean's abort setter given false also clears abortCleaning; given true it leaves it.
    void setAbort(Category c, TaskKind k, bool on);

    bool abortCleaning() const { return abortCleaning_.load(); }
    void setAbortCleaning(bool on) { abortCleaning_.store(on); }
    // The flag itself, for code that only reads it (the deletion engine).
    const std::atomic<bool>& abortCleaningFlag() const { return abortCleaning_; }

    bool changesMade() const { return changesMade_.load(); }
    void setChangesMade(bool on) { changesMade_.store(on); }

    // A task whose running flag is set and whose abort flag is not.
    bool scanOrCleanRunning() const;
    // Sets the abort flag of every running task, then abortCleaning.
    void abortAllOtherScansAndCleans();
    // True when no abort is pending: every task asked to abort has finished its abort handling.
    bool allScansAndCleansAborted() const;
    // Whether any task other than (c, k) still has its running flag set (aborting or not).
    bool otherTaskRunning(Category c, TaskKind k) const;

private:
    static std::size_t index(Category c, TaskKind k) {
        return static_cast<std::size_t>(c) * 2 + static_cast<std::size_t>(k);
    }
    std::array<std::atomic<bool>, 14> running_{};
    std::array<std::atomic<bool>, 14> abort_{};
    std::atomic<bool> abortCleaning_{false};
    std::atomic<bool> changesMade_{false};
};

} // namespace tpc::core
