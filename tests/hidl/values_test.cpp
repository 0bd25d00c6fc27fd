// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using com::tovi::test::probe::V1_0::Colour;
using com::tovi::test::probe::V1_0::Item;
using testing::HasSubstr;

constexpr size_t kKiB = 1024;

class ValuesTest : public HidlTest {
  protected:
    Service service_;
    const sp<IProbe> probe_ = service_.get();
};

Everything extremes() {
    Everything value{};
    value.truth = true;
    value.small = INT8_MIN;
    value.smallUnsigned = UINT8_MAX;
    value.medium = INT16_MIN;
    value.mediumUnsigned = UINT16_MAX;
    value.large = INT32_MIN;
    value.largeUnsigned = UINT32_MAX;
    value.huge = INT64_MIN;
    value.hugeUnsigned = UINT64_MAX;
    value.real = -INFINITY;
    value.precise = std::numeric_limits<double>::denorm_min();
    value.colour = Colour::GREEN;
    value.flags = 3;
    for (int16_t i = 0; i < 3; ++i) value.threeNumbers[static_cast<size_t>(i)] = static_cast<int16_t>(-i);
    value.twoTexts[0] = "first";
    value.twoTexts[1] = hidl_string("\0with\0zeros\0", 12);
    value.text = std::string(5000, 'x');
    value.item = Item{"item", {1.5f, -2.5f}, {"", "note"}, true, Colour::GREEN};
    value.truths = {true, false, true};
    value.numbers = std::vector<double>(2000, 0.1);
    value.table = {{}, {1}, {2, 3}, std::vector<int32_t>(3000, 7), {}};
    value.items = {value.item, Item{}, value.item};
    value.texts = {{"a", "b"}, {}, {hidl_string()}};
    return value;
}

TEST_F(ValuesTest, EveryTypeComesBackUnchanged) {
    for (const Everything& value : {Everything{}, extremes()}) {
        Everything same{};
        EXPECT_EQ(errorOf(probe_->echo(value, [&](const Everything& got) { same = got; })), "");
        EXPECT_EQ(toString(same), toString(value));
        EXPECT_EQ(same, value);
    }
}

TEST_F(ValuesTest, BytesOfEverySizeComeBackUnchanged) {
    // The largest twice: the first is hardly given back when the second is sent.
    for (size_t size :
         {size_t{0}, size_t{1}, 4 * kKiB, 4 * kKiB + 1, 32 * kKiB, 256 * kKiB, 1012 * kKiB, 1012 * kKiB}) {
        SCOPED_TRACE(size);
        std::vector<uint8_t> sent(size);
        for (size_t i = 0; i < size; ++i) sent[i] = static_cast<uint8_t>(i * 31 + i / 251);
        std::vector<uint8_t> got{1};
        EXPECT_EQ(errorOf(probe_->echoBytes(sent, [&](const auto& bytes) { got = bytes; })), "");
        EXPECT_TRUE(got == sent);
    }
}

// A body that is not plain data, around the size of a packet and far above.
TEST_F(ValuesTest, ManyTextsComeBackUnchanged) {
    for (size_t count : {size_t{1}, size_t{500}, size_t{700}, size_t{6000}}) {
        SCOPED_TRACE(count);
        hidl_vec<hidl_vec<hidl_string>> texts(2);
        texts[1].resize(count);
        for (size_t i = 0; i < count; ++i) texts[1][i] = std::string(i % 40, static_cast<char>('a' + i % 26));
        hidl_vec<hidl_vec<hidl_string>> got;
        EXPECT_EQ(errorOf(probe_->echoTexts(texts, [&](const auto& same) { got = same; })), "");
        EXPECT_TRUE(got == texts);
    }
}

TEST_F(ValuesTest, ATransactionHasALimit) {
    const auto bytes = [](size_t size) { return hidl_vec<uint8_t>(size * kKiB); };
    const auto text = [](size_t size) { return std::string(size * kKiB, 't'); };
    const auto kiB = [](size_t size) { return static_cast<uint32_t>(size * kKiB); };
    bool called = false;
    const auto result = [&called](const auto&) { called = true; };
    const struct {
        const char* name;
        size_t fits;
        size_t tooLarge;
        std::function<std::string(size_t)> call;
        bool hasResult;
    } kCases[] = {
        {"bytes there", 1012, 1016, [&](size_t n) { return errorOf(probe_->sumBytes(bytes(n))); }, false},
        {"bytes back", 1012, 1016, [&](size_t n) { return errorOf(probe_->makeBytes(kiB(n), result)); },
         true},
        {"text there", 1012, 1016, [&](size_t n) { return errorOf(probe_->echoText(text(n), result)); },
         true},
        {"text back", 1012, 1016, [&](size_t n) { return errorOf(probe_->makeText(kiB(n), result)); }, true},
        {"oneway", 506, 508, [&](size_t n) { return errorOf(probe_->takeBytes(bytes(n))); }, false},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        EXPECT_EQ(one.call(one.fits), "");
        EXPECT_EQ(called, one.hasResult);
        called = false;
        for (size_t size : {one.tooLarge, size_t{4096}}) {
            EXPECT_THAT(one.call(size), HasSubstr("FAILED_TRANSACTION"));
            EXPECT_FALSE(called);
            EXPECT_EQ(probe_->add(1, 2), 3);
        }
    }
    EXPECT_TRUE(logged(probe_, "bytes " + std::to_string(506 * kKiB)));
}

/** A native handle of so many descriptors of one file, and of the given numbers. */
hidl_handle handleOf(int file, int descriptors, const std::vector<int>& numbers) {
    native_handle_t* made = native_handle_create(descriptors, static_cast<int>(numbers.size()));
    for (int i = 0; i < descriptors; ++i) made->data[i] = fcntl(file, F_DUPFD_CLOEXEC, 0);
    std::copy(numbers.begin(), numbers.end(), made->data + descriptors);
    hidl_handle handle;
    handle.setTo(made, true);
    return handle;
}

class FilesTest : public ValuesTest {
  protected:
    FilesTest() { EXPECT_EQ(write(fileno(file_), "content", 7), 7); }
    ~FilesTest() override { fclose(file_); }

    std::string read(const Files& files) {
        content_ = "(none)";
        return errorOf(probe_->readFiles(files, [this](const hidl_string& content, const Files& same) {
            content_ = content;
            same_ = same;
        }));
    }

    FILE* const file_ = tmpfile();
    std::string content_;
    Files same_;
};

TEST_F(FilesTest, HandlesTravelBothWaysAndLeaveNothingBehind) {
    const auto useOnce = [this] {
        Files files;
        files.first = handleOf(fileno(file_), 2, {7, -8});
        files.others.resize(3);
        files.others[0] = handleOf(fileno(file_), 0, {9});
        files.others[2] = handleOf(fileno(file_), 30, {});
        EXPECT_EQ(read(files), "");
        EXPECT_EQ(content_, "content");
        ASSERT_EQ(same_.others.size(), 3u);
        EXPECT_EQ(toString(same_.others[0]), "native_handle of 0 fds and 1 ints");
        EXPECT_EQ(same_.others[1], nullptr);
        EXPECT_EQ(same_.others[2]->numFds, 30);
        ASSERT_EQ(toString(same_.first), toString(files.first));
        EXPECT_EQ(same_.first->data[3], -8);
        char back[16] = {};
        EXPECT_EQ(pread(same_.first->data[1], back, sizeof(back), 0), 7);
        EXPECT_STREQ(back, "content");
        same_ = Files{};
        // The service's copies go with its method, which ends before the next begins.
        EXPECT_EQ(probe_->add(1, 2), 3);
    };
    useOnce();
    const size_t before = service_.descriptors();
    const int lowestFree = fcntl(fileno(file_), F_DUPFD_CLOEXEC, 0);
    close(lowestFree);
    for (int i = 0; i < 20; ++i) useOnce();
    EXPECT_EQ(service_.descriptors(), before);
    const int stillLowest = fcntl(fileno(file_), F_DUPFD_CLOEXEC, 0);
    close(stillLowest);
    EXPECT_EQ(stillLowest, lowestFree);
}

TEST_F(FilesTest, AHandleThatCannotTravelFailsItsCallOnly) {
    native_handle_t* closed = native_handle_create(1, 0);
    closed->data[0] = INT_MAX;
    Files bad;
    bad.first = closed;
    Files tooMany;
    tooMany.first = handleOf(fileno(file_), 129, {});
    Files good;
    good.first = handleOf(fileno(file_), 1, {});
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
