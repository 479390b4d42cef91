#include "config/LinkedViews.h"
#include "config/link/LinkObjects.h"
#include "desk/Desk.h"
#include "plot/paint/TimeBox.h"

namespace trelis::test {
namespace {

/// What a running copy has of a link, with a log of an hour whose clock is `offset` ms off.
struct Copy {
    Copy(const std::string& path, std::uint64_t offset) : link(path) {
        store.intervalStart = offset;
        store.intervalEnd = offset + 3'600'000;
        link.enable();
        link.addOffset(static_cast<std::int64_t>(offset), static_cast<std::int64_t>(offset));
    }

    IPC link;
    Store store;
    TimeBox timeBox{store};
    std::int64_t shownLeft = -1;
    LinkedViews views{link, store, timeBox,
                      [this](std::int64_t left, std::int64_t) { shownLeft = left; }};
};

class LinkedViewsTest : public ::testing::Test {
  protected:
    ~LinkedViewsTest() override { removeLinkObjects(path); }
    const Folder folder;
    const std::string path = folder.write("program", "");
};

TEST_F(LinkedViewsTest, ViewAndRulersFollowInEachCopysTime) {
    Copy one(path, 1'000'000);
    Copy two(path, 5'000'000);
    int moved = 0;
    two.store.rulersChanged.connect([&] { ++moved; });

    one.timeBox.setInterval(1'010'000, 1'020'000, true);
    ASSERT_TRUE(pump([&] { return two.timeBox.start == 5'010'000; }));
    EXPECT_EQ(two.timeBox.end, 5'020'000U);
    EXPECT_FALSE(two.timeBox.byUser);

    one.views.rulersMoved(1'012'000, -1);
    ASSERT_TRUE(pump([&] { return two.store.leftRuler == 5'012'000; }));
    EXPECT_EQ(two.shownLeft, 5'012'000);
    EXPECT_EQ(two.store.rightRuler, -1);
    EXPECT_TRUE(pump([&] { return moved > 0; }));

    two.timeBox.setInterval(5'100'000, 5'200'000, true);
    two.views.rulersMoved(-1, -1);
    EXPECT_TRUE(pump([&] { return one.timeBox.start == 1'100'000 && one.shownLeft == -1; }));
    EXPECT_TRUE(pump([&] { return two.store.leftRuler == -1 || two.link.firstCursor() == -1; }));
    EXPECT_EQ(two.timeBox.start, 5'100'000U);
}

TEST_F(LinkedViewsTest, AViewBeyondTheLoadedDataComesWithThem) {
    Copy one(path, 0);
    Copy two(path, 0);
    two.store.intervalEnd = 1000;
    one.timeBox.setInterval(500, 5000, true);
    ASSERT_TRUE(pump([&] { return two.timeBox.start == 500; }));
    EXPECT_EQ(two.timeBox.end, 1000U);
    two.store.intervalEnd = 10'000;
    two.store.dataChanged.emit();
    EXPECT_TRUE(pump([&] { return two.timeBox.end == 5000; }));
}

}  // namespace
}  // namespace trelis::test
