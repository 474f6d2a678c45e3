#include "core/ProgressMessage.h"
#include "core/Frontend.h"
#include "core/Keys.h"

#include <gtest/gtest.h>

namespace tpc::core {
namespace {

TEST(ProgressMessage, KeysApplyInTableOrder) {
    ProgressState s;
    s.value = 10;
    ProgressMessage m;
    m.increment = 5;
    m.maxValue = 200;
    m.doubleValue = 150;
    s.apply(m);
    // The increment comes before the value, so the value wins; the maximum is set before it.
    EXPECT_EQ(s.value, 150);
    EXPECT_EQ(s.maxValue, 200);

    ProgressMessage inc;
    inc.increment = 7;
    s.apply(inc);
    s.apply(inc);
    EXPECT_EQ(s.value, 164);
}

TEST(ProgressMessage, SwitchKeysActOnlyOnZeroAndOne) {
    ProgressState s;
    auto with = [](std::optional<std::int64_t> hide, std::optional<std::int64_t> type,
                   std::optional<std::int64_t> anim) {
        ProgressMessage m;
        m.hideUnhide = hide;
        m.indicatorType = type;
        m.startStopAnimation = anim;
        return m;
    };
    s.apply(with(1, 0, 0));
    EXPECT_TRUE(s.visible);
    EXPECT_FALSE(s.determinate);
    EXPECT_TRUE(s.animating) << "0 starts the animation";

    s.apply(with(2, 5, 3));
    EXPECT_TRUE(s.visible);
    EXPECT_FALSE(s.determinate);
    EXPECT_TRUE(s.animating);

    s.apply(with(0, 1, 1));
    EXPECT_FALSE(s.visible);
    EXPECT_TRUE(s.determinate);
    EXPECT_FALSE(s.animating) << "1 stops the animation";
}

TEST(ProgressMessage, DictionaryFormUsesKeysVerbatimAndReadsNumbersLeniently) {
    ProgressMessage m;
    m.hideUnhide = 1;
    m.status = "Scanning...";
    m.maxValue = 39;
    auto d = m.toDict();
    EXPECT_EQ(d->size(), 3u);
    EXPECT_EQ(d->getInt("Hide/Unhide Progress Indicator"), 1);
    EXPECT_EQ(d->getString("Progress Status"), "Scanning...");
    EXPECT_EQ(d->getUInt("Progress Indicator Max Value"), 39u);

    auto in = DictObj::make({{keys::ProgressIndicatorDoubleValue, 2.7},
                             {keys::HideUnhideProgressIndicator, true},
                             {keys::ProgressIndicatorIncrement, " 12"},
                             {keys::ProgressIndicatorMinValue, Value::newArray()}});
    auto back = ProgressMessage::fromDict(in);
    EXPECT_EQ(back.doubleValue, 2u) << "whole numbers only";
    EXPECT_EQ(back.hideUnhide, 1);
    EXPECT_EQ(back.increment, 12u);
    EXPECT_FALSE(back.minValue);
    EXPECT_FALSE(back.status);
    EXPECT_TRUE(ProgressMessage::fromDict(DictObj::make()).empty());
}

TEST(Alert, MissingKeysMeanNoSuchButton) {
    auto a = AlertRequest::fromPanelDict(DictObj::make(
        {{"title", "Information"}, {"defaultButton", "OK"}, {"otherButton", "Cancel"}}));
    EXPECT_EQ(a.title, "Information");
    EXPECT_EQ(a.message, "");
    EXPECT_EQ(a.buttons(), (std::vector<std::string>{"OK", "Cancel"}));
    EXPECT_EQ(a.resultForButtonIndex(0), AlertDefault);
    EXPECT_EQ(a.resultForButtonIndex(1), AlertOther);

    auto b = AlertRequest::fromMessageDict(DictObj::make(
        {{"Alert Message", "Done"}, {"Alert Alternate Button", "No"}, {"title", "ignored"}}));
    EXPECT_EQ(b.title, "");
    EXPECT_EQ(b.message, "Done");
    EXPECT_FALSE(b.defaultButton);
    EXPECT_EQ(b.resultForButtonIndex(0), AlertAlternate);
}

TEST(ButtonUpdate, SetHiddenDisablesAndNeverHides) {
    ButtonUpdate hide;
    hide.setHidden = true;
    EXPECT_FALSE(hide.enabledAfter(true));

    ButtonUpdate both;
    both.setEnabled = true;
    both.setHidden = true;
    EXPECT_FALSE(both.enabledAfter(false)) << "setHidden is applied after setEnabled";

    ButtonUpdate show;
    show.setHidden = false;
    EXPECT_TRUE(show.enabledAfter(false));
    EXPECT_TRUE(ButtonUpdate{}.enabledAfter(true));
}

} // namespace
} // namespace tpc::core
