// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using android::hardware::Status;
using testing::HasSubstr;
using StatusTest = HidlTest;

Return<int32_t> failed() {
    return Status::fromStatusT(android::BAD_VALUE);
}

TEST_F(StatusTest, UnexaminedErrorAbortsTheProcess) {
    EXPECT_DEATH((void)failed(), "not checked");
    EXPECT_DEATH((void)static_cast<int32_t>(failed()), "used as a success");
    EXPECT_DEATH(
        {
            Return<int32_t> result = failed();
            result = Return<int32_t>(1);
        },
        "not checked");
    EXPECT_DEATH((void)failed().description(), "not checked");
    EXPECT_DEATH((void)failed().isDeadObject(), "not checked");
    EXPECT_DEATH((void)Return<void>(Status::fromExceptionCode(Status::EX_SECURITY)), "EX_SECURITY");
}

TEST_F(StatusTest, ExaminedErrorsAndSuccessesDoNotAbort) {
    EXPECT_FALSE(failed().isOk());
    EXPECT_EQ(failed().withDefault(7), 7);
    EXPECT_TRUE(Return<void>(Status::fromStatusT(android::DEAD_OBJECT)).isDeadObject());
    (void)Return<int32_t>(1);
    Return<int32_t> first = failed();
    Return<int32_t> second = std::move(first);  // the obligation to examine moves with the error
    EXPECT_FALSE(second.isOk());
    second = Return<int32_t>(8);
    EXPECT_EQ(second, 8);
}

TEST_F(StatusTest, ServiceThatViolatesTheRulesOfResultsAborts) {
    std::string answers;
    const auto add = [&answers](const auto& text) { answers += text; };
    const struct {
        std::function<std::string(const sp<IProbe>&)> call;
        const char* answers;
        const char* error;
    } kCases[] = {
        {[&](const auto& probe) { return errorOf(probe->answerTimes(0, add)); }, "", "DEAD_OBJECT"},
        {[&](const auto& probe) { return errorOf(probe->answerTimes(2, add)); }, "answer", ""},
        {[&](const auto& probe) { return errorOf(probe->returnError()); }, "", "DEAD_OBJECT"},
    };
    for (const auto& one : kCases) {
        Service service;
        const sp<IProbe> probe = service.get();
        answers.clear();
        EXPECT_THAT(one.call(probe), HasSubstr(one.error));
        EXPECT_EQ(answers, one.answers);
        EXPECT_EQ(service.wait(), 128 + SIGABRT);
        EXPECT_TRUE(probe->add(1, 2).isDeadObject());
    }
}

TEST_F(StatusTest, CallWithoutResultCallbackAbortsTheClient) {
    Service service;
    const auto call = [&service]() noexcept { return service.get()->echoText("text", nullptr).isOk(); };
    EXPECT_DEATH((void)call(), "bad_function_call");
    EXPECT_EQ(service.get()->add(1, 2), 3);
}

}  // namespace
}  // namespace hidlaudio::test
