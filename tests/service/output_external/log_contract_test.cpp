// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "output_external/OutputEncodingStatusListener.h"
#include "output_external/OutputExternal.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::V3_1;
using android::sp;
using std::string_literals::operator""s;

TEST(LogContract, OutputExternal) {
    const PrivateTv tv{"data/vendor/tovi/hidlaudio", "soc/config"};
    host::LogCapture log;
    sp<IOutputExternal> service;
    const sp<IOutputEncodingStatusListener> listener = new implementation::OutputEncodingStatusListener;
    const std::string file = "data/vendor/tovi/hidlaudio/bitstream_output_mode.data";
    const std::string opened = "D OutputExternal mtal open success";
    const std::string off = "D [setForceEncodingEnabled] start enable:0";
    const std::string on = "D [setForceEncodingEnabled] start enable:1";
    const std::string done = "D [setForceEncodingEnabled] end ret:0";
    const auto start = [&] { service = new implementation::OutputExternal; };
    const auto set = [&](bool enable, int32_t result) -> Action {
        return [=, &service] { EXPECT_EQ(service->setForceEncodingEnabled(enable), result); };
    };
    const auto get = [&](bool enabled) -> Action {
        return [=, &service] { EXPECT_EQ(service->getForceEncodingEnabled(), enabled); };
    };
    const auto isAuto = [](const auto& format) { EXPECT_EQ(format, "auto"); };
    const auto isEmpty = [](const auto& formats) { EXPECT_EQ(formats.size(), 0U); };
    expectLog(
        log, "output_external_test",
        {{without(kReadyMarker, start),
          waitingLines(
              {}, "D <<<<<hidlaudio waiting dtv_svc>>>>> count:", 2000,
              {"D dtv_svc rpc server failed.", opened,
               "D [OutputExternal] prev setting not exist. set bitstream output mode 0,  result 0"})},
         {set(false, 0), {off, "D [setForceEncodingEnabled] write(data=2) ret = 4", done}},
         {get(false), {"D [getForceEncodingEnabled] start", "D [getForceEncodingEnabled] end ret:0"}},
         {start, {opened, "D [OutputExternal] set bitstream output mode 2,  result 0"}},
         {refusing("MTAL_InitExCb", refusing("a_mtktvapi_config_set_value", start)),
          {"E ERROR: OutputExternal MTAL_Init.... , r = -6 \n",
           "D [OutputExternal] set bitstream output mode 2,  result -6"}},
         {refusing("a_mtktvapi_config_set_value", set(true, -6)),
          {on, "E setForceEncodingEnabled, MTKTVAPI failed:ret = -6\n",
           "D [setForceEncodingEnabled] end ret:-6"}},
         {[&] { EXPECT_EQ(contentOf(tv / file), "\2\0\0\0"s) << "a refused mode is not stored"; }, {}},
         {refusing("a_mtktvapi_config_get_value", get(false)),
          {"D [getForceEncodingEnabled] start", "E getForceEncodingEnabled, MTKTVAPI failed:ret = -6\n"}},
         {failing("write", 1, set(true, 0)),
          {on, "D [setForceEncodingEnabled] write(data=0) ret = -1", done}},
         {without(file, set(true, 0)),
          {on, "E [setForceEncodingEnabled] open file /" + file + " failed, errno 2", done}},
         {failing("open", 1, start), {opened, "E [OutputExternal] open file /" + file + " failed, errno 5"}},
         {[&] { EXPECT_EQ(service->setEncodingFormat(""), 0); }, {"D [setEncodingFormat] start"}},
         {[&] { EXPECT_TRUE(service->getEncodingFormat(isAuto).isOk()); }, {"D [getEncodingFormat] start"}},
         {[&] { EXPECT_TRUE(service->getAvailableEncodingFormats(isEmpty).isOk()); },
          {"D [getAvailableEncodingFormats] start"}},
         {[&] { EXPECT_EQ(service->registerEncodingFormatListener(listener), 0); },
          {"D [registerEncodingFormatListener] start"}},
         {[&] { EXPECT_EQ(service->unregisterEncodingFormatListener(nullptr), 0); },
          {"D [unregisterEncodingFormatListener] start"}},
         {[&] { EXPECT_TRUE(listener->onForceEncodingChanged(true).isOk()); },
          {"D [onForceEncodingChanged] start"}},
         {[&] { EXPECT_TRUE(listener->onEncodingFormatChanged("auto").isOk()); },
          {"D [onEncodingFormatChanged] start"}}});
    EXPECT_EQ(listener->getStrongCount(), 1) << "the service keeps no reference";
}

}  // namespace
}  // namespace hidlaudio::test
