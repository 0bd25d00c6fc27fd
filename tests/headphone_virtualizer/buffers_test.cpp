// SPDX-License-Identifier: Apache-2.0
#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Buffers = Virtualizer;
using testing::MatchesRegex;

TEST_F(Buffers, AreMadeFilledAndDropped) {
    logged();
    const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 10);
    const std::string number = std::to_string(handle);
    EXPECT_THAT(logged(),
                ElementsAre("D [allocateParameterBuffer] start. ParamType=0, size=10",
                            "D [allocateParameterBufferInt] start. type=0, handle=-1",
                            "D [discardParameterBufferInt] star", "D [discardParameterBufferInt] end",
                            MatchesRegex("D .allocateParameterBufferInt. malloc success! data=0x[0-9a-f]+"),
                            "D [allocateParameterBufferInt] end. Return:" + number,
                            "D [allocateParameterBuffer] end. handle:" + number));
    EXPECT_EQ(append(handle, "123456"), 0);
    EXPECT_THAT(logged(),
                ElementsAre("D [append] start. handle=" + number, "D [append] ParamType=0",
                            "D [appendInt] start.  registered size=10,  append accumulation=0, data size=6",
                            "D [appendInt] end", "D [append] end. Return:0"));
    EXPECT_EQ(append(handle, "12345"), -2);
    EXPECT_THAT(logged(), Contains("E [appendInt] data size error"));
    EXPECT_EQ(append(handle, "1234"), 0);
    EXPECT_EQ(append(handle, ""), 0);
    EXPECT_EQ(append(handle, "x"), -2);
    EXPECT_THAT(logged(), Contains("D [appendInt] start.  registered size=10,  append accumulation=10, data "
                                   "size=1"));
    EXPECT_EQ(service_->discardParameterBuffer(handle), 0);
    EXPECT_THAT(logged(),
                ElementsAre("D [discardParameterBuffer] start. handle=" + number,
                            "D [discardParameterBuffer] ParamType=0", "D [discardParameterBufferInt] star",
                            "D [discardParameterBufferInt] release memory.",
                            "D [discardParameterBufferInt] end", "D [discardParameterBuffer] end. Return:0"));
    EXPECT_EQ(service_->discardParameterBuffer(handle), -1);
    EXPECT_THAT(logged(), ElementsAre("D [discardParameterBuffer] start. handle=" + number,
                                      "E [getParamFromHandle] handle is not found!",
                                      "D [discardParameterBuffer] end. Return:-1"));
}

TEST_F(Buffers, TakeAQuarterMebibyteAtOnce) {
    EXPECT_EQ(service_->getMaxAppendSize(), 262144);
    const int32_t handle = service_->allocateParameterBuffer(ParamType::HRTF, 300000);
    logged();
    EXPECT_EQ(append(handle, std::string(262145, 'x')), -2);
    EXPECT_EQ(logged().back(), "E [append] data size error. max append size=262144, append size=262145");
    EXPECT_EQ(append(handle, std::string(262144, 'x')), 0);
}

TEST_F(Buffers, AreRefusedWithoutKindOrMemory) {
    const int32_t old = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
    logged();
    EXPECT_EQ(service_->allocateParameterBuffer(static_cast<ParamType>(2), 10), 0);
    EXPECT_THAT(logged(), ElementsAre("D [allocateParameterBuffer] start. ParamType=2, size=10",
                                      "E [allocateParameterBuffer] ParamType(2) is not supported.",
                                      "D [allocateParameterBuffer] end. handle:0"));
    EXPECT_EQ(append(old, "x"), 0);
    for (const int32_t size : {-1, INT32_MIN}) {
        EXPECT_EQ(service_->allocateParameterBuffer(ParamType::DEVICE, size), 0);
        EXPECT_THAT(logged(), Contains("D [allocateParameterBufferInt] malloc fail."));
        EXPECT_EQ(append(old, ""), -1) << "the old one is gone all the same";
    }
    for (const int32_t never : {-1, 0, 255}) EXPECT_EQ(append(never, ""), -1);
}

TEST_F(Buffers, HandlesComeRoundAndPassTheOneInUse) {
    const int32_t kept = service_->allocateParameterBuffer(ParamType::HRTF, 1);
    int32_t previous = kept;
    for (int i = 0; i < 1000; ++i) {
        int32_t expected = previous % 254 + 1;
        if (expected == kept) expected = expected % 254 + 1;
        const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
        ASSERT_EQ(handle, expected);
        ASSERT_EQ(append(previous, ""), previous == kept ? 0 : -1);
        previous = handle;
    }
    EXPECT_EQ(append(kept, "x"), 0);
    log_.take();
}

}  // namespace
}  // namespace hidlaudio::test
