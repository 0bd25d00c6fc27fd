// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cmath>
#include <sstream>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using android::hardware::hidl_array;
using com::tovi::test::probe::V1_0::Colour;
using com::tovi::test::probe::V1_0::Item;
using testing::HasSubstr;

using ValuesTest = ServedTest;

Everything extremes() {
    const Item item{"item", {1.5f, -2.5f}, {"", "note"}, true, Colour::GREEN};
    hidl_array<int16_t, 2, 3> grid;
    for (int16_t i = 0; i < 6; ++i) grid.data()[i] = i;
    hidl_array<hidl_string, 2, 2> names;
    names[1][0] = "of the second row";
    return Everything{true,
                      INT8_MIN,
                      UINT8_MAX,
                      INT16_MIN,
                      UINT16_MAX,
                      INT32_MIN,
                      UINT32_MAX,
                      INT64_MIN,
                      UINT64_MAX,
                      -INFINITY,
                      std::numeric_limits<double>::denorm_min(),
                      Colour::GREEN,
                      3,
                      std::array<int16_t, 3>{0, -1, 2},
                      std::array<hidl_string, 2>{"first", hidl_string("\0with\0zeros\0", 12)},
                      std::string(5000, 'x'),
                      item,
                      {true, false, true},
                      std::vector<double>(2000, 0.1),
                      {{}, {1}, {2, 3}, std::vector<int32_t>(3000, 7), {}},
                      {item, Item{}, item},
                      {{"a", "b"}, {}, {hidl_string()}},
                      grid,
                      names};
}

TEST_F(ValuesTest, EveryTypeIsReturnedUnchanged) {
    for (const Everything& value : {Everything{}, extremes()}) {
        Everything same{};
        EXPECT_EQ(errorOf(probe_->echo(value, [&](const Everything& got) { same = got; })), "");
        EXPECT_EQ(toString(same), toString(value));
        EXPECT_EQ(same, value);
    }
}

// The HIDL types behave as in the platform's library.
TEST_F(ValuesTest, StringsCompareAndPrintUpToTheirFirstNul) {
    const hidl_string whole("a\0b", 3);
    const hidl_string other("a\0c", 3);
    EXPECT_EQ(whole, other);
    EXPECT_FALSE(whole < other || other < whole || whole != "a");
    EXPECT_NE(std::string(whole), std::string(other));
    std::ostringstream stream;
    stream << whole << hidl_string("!");
    EXPECT_EQ(stream.str(), "a!");
    hidl_string external;
    external.setToExternal("text", 4);
    EXPECT_DEATH(external.setToExternal("text", 3), "must end with a NUL");
}

TEST_F(ValuesTest, MovedFromVectorStillRefersToItsElements) {
    hidl_vec<hidl_string> texts = {"first", "second"};
    const hidl_vec<hidl_string> moved = std::move(texts);
    EXPECT_EQ(texts.size(), 2u);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(texts.data(), moved.data());
    EXPECT_TRUE(moved.contains("second"));
    EXPECT_FALSE(moved.contains("third"));
}

TEST_F(ValuesTest, BytesOfAnySizeAreReturnedUnchanged) {
    // The largest size twice: the first block may still be in use when the second is sent.
    for (size_t size : {size_t{0}, size_t{1}, 4 * kKiB, 4 * kKiB + 1, 256 * kKiB, 1012 * kKiB, 1012 * kKiB}) {
        SCOPED_TRACE(size);
        std::vector<uint8_t> sent(size);
        for (size_t i = 0; i < size; ++i) sent[i] = static_cast<uint8_t>(i * 31 + i / 251);
        std::vector<uint8_t> got{1};
        EXPECT_EQ(errorOf(probe_->echoBytes(sent, [&](const auto& bytes) { got = bytes; })), "");
        EXPECT_TRUE(got == sent);
    }
}

// The body contains no plain data, and is about as large as a packet or much larger.
TEST_F(ValuesTest, ManyTextsAreReturnedUnchanged) {
    for (size_t count : {1u, 500u, 700u, 6000u}) {
        SCOPED_TRACE(count);
        hidl_vec<hidl_vec<hidl_string>> texts(2);
        texts[1].resize(count);
        for (size_t i = 0; i < count; ++i) texts[1][i] = std::string(i % 40, static_cast<char>('a' + i % 26));
        hidl_vec<hidl_vec<hidl_string>> got;
        EXPECT_EQ(errorOf(probe_->echoTexts(texts, [&](const auto& same) { got = same; })), "");
        EXPECT_TRUE(got == texts);
    }
}

TEST_F(ValuesTest, TooLargeTransactionFails) {
    const auto bytes = [](size_t kiB) { return hidl_vec<uint8_t>(kiB * kKiB); };
    // Empty strings: 16 bytes of the structure, 48 of the object and 8 of padded content each.
    const auto texts = [](size_t kiB) {
        hidl_vec<hidl_vec<hidl_string>> list(1);
        list[0].resize(kiB * kKiB / (16 + 48 + 8));
        return list;
    };
    const auto number = [](size_t kiB) { return static_cast<uint32_t>(kiB * kKiB); };
    bool called = false;
    const auto result = [&called](const auto&) { called = true; };
    const struct {
        size_t fits;
        size_t tooLarge;
        bool hasResult;
        std::function<std::string(size_t)> call;
    } kCases[] = {
        {1012, 1016, true, [&](size_t n) { return errorOf(probe_->echoBytes(bytes(n), result)); }},
        {1012, 1016, true, [&](size_t n) { return errorOf(probe_->makeBytes(number(n), result)); }},
        {1012, 1016, true,
         [&](size_t n) { return errorOf(probe_->echoText(std::string(n * kKiB, 't'), result)); }},
        {1012, 1016, true, [&](size_t n) { return errorOf(probe_->makeText(number(n), result)); }},
        {1014, 1016, true, [&](size_t n) { return errorOf(probe_->echoTexts(texts(n), result)); }},
        {506, 508, false, [&](size_t n) { return errorOf(probe_->takeBytes(bytes(n))); }},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(&one - kCases);
        EXPECT_EQ(one.call(one.fits), "");
        EXPECT_EQ(std::exchange(called, false), one.hasResult);
        for (size_t size : {one.tooLarge, size_t{4096}}) {
            EXPECT_THAT(one.call(size), HasSubstr("FAILED_TRANSACTION"));
            EXPECT_FALSE(called);
            EXPECT_EQ(probe_->add(1, 2), 3);
        }
    }
    EXPECT_TRUE(logged(probe_, "bytes " + std::to_string(506 * kKiB)));
}

class FilesTest : public ValuesTest {
  protected:
    FilesTest() { EXPECT_EQ(write(fileno(file_), "content", 7), 7); }
    ~FilesTest() override { fclose(file_); }

    /** Returns a handle of `descriptors` duplicates of the file's descriptor and of `numbers`. */
    hidl_handle handleOf(int descriptors, const std::vector<int>& numbers) {
        native_handle_t* made = native_handle_create(descriptors, static_cast<int>(numbers.size()));
        for (int i = 0; i < descriptors; ++i) made->data[i] = fcntl(fileno(file_), F_DUPFD_CLOEXEC, 0);
        std::copy(numbers.begin(), numbers.end(), made->data + descriptors);
        hidl_handle handle;
        handle.setTo(made, true);
        return handle;
    }

    std::string read(const Files& files) {
        content_ = "(none)";
        return errorOf(probe_->readFiles(files, [this](const hidl_string& content, const Files& same) {
            content_ = content;
            same_ = same;
        }));
    }

    int lowestFree() {
        const unique_fd lowest(fcntl(fileno(file_), F_DUPFD_CLOEXEC, 0));
        return lowest.get();
    }

    FILE* const file_ = tmpfile();
    std::string content_;
    Files same_;
};

TEST_F(FilesTest, HandlesArePassedBothWaysWithoutLeaks) {
    const auto useOnce = [this] {
        const Files files{handleOf(2, {7, -8}), {handleOf(0, {9}), hidl_handle(), handleOf(30, {})}};
        EXPECT_EQ(read(files), "");
        EXPECT_EQ(content_, "content");
        EXPECT_EQ(toString(same_), toString(files));
        EXPECT_EQ(same_.first->data[3], -8);
        char back[16] = {};
        EXPECT_EQ(pread(same_.first->data[1], back, sizeof(back), 0), 7);
        EXPECT_STREQ(back, "content");
        same_ = Files{};
        // The service has closed its copies when it serves the next call.
        EXPECT_EQ(probe_->add(1, 2), 3);
    };
    makeBusy(probe_);
    useOnce();
    const size_t before = service_.descriptors();
    const int lowest = lowestFree();
    for (int i = 0; i < 20; ++i) useOnce();
    EXPECT_EQ(service_.descriptors(), before);
    EXPECT_EQ(lowestFree(), lowest);
}

TEST_F(FilesTest, HandleThatCannotBeSentFailsOnlyItsCall) {
    native_handle_t* closed = native_handle_create(1, 0);
    closed->data[0] = INT_MAX;
    const Files bad{closed, {}};
    const Files tooMany{handleOf(129, {}), {}};
    const Files good{handleOf(1, {}), {}};
    for (const Files* files : {&bad, &bad, &tooMany}) {
        EXPECT_THAT(read(*files), HasSubstr("FAILED_TRANSACTION"));
        EXPECT_EQ(probe_->add(1, 2), 3);
        EXPECT_THAT(read(*files), HasSubstr("FAILED_TRANSACTION"));
        EXPECT_EQ(read(good), "");
        EXPECT_EQ(content_, "content");
    }
    native_handle_delete(closed);
}

}  // namespace
}  // namespace hidlaudio::test
