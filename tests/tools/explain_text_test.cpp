#include "tools/explain_text.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

TEST(ExplainTextTest, ReadsCodesAsPeopleHaveThem) {
  EXPECT_EQ(ParseCode("5"), 5u);
  EXPECT_EQ(ParseCode("0x80070005"), 0x80070005u);
  EXPECT_EQ(ParseCode("-2147024891"), 0x80070005u);
  EXPECT_EQ(ParseCode("e_notimpl"), 0x80004001u);
  EXPECT_EQ(ParseCode("RPC_S_CALL_FAILED"), 1726u);
  EXPECT_EQ(ParseCode("E_NO"), std::nullopt);
  EXPECT_EQ(ParseCode(""), std::nullopt);
}

TEST(ExplainTextTest, SaysWhatTheInterfaceMeans) {
  EXPECT_EQ(ExplainText(0x80004001),
            "0x80004001, 2147500033, -2147467263\n"
            "  E_NOTIMPL: not implemented\n"
            "  result of run as system: allow-list: it has no such command");
  EXPECT_EQ(ExplainText(0x800705B4),
            "0x800705B4, 2147943860, -2147023436\n"
            "  ERROR_TIMEOUT: the time allowed is over\n"
            "  as a result it carries the code 1460\n"
            "  result of device session: wake-up status: the wake-up check after the last start or resume has not "
            "finished");
  EXPECT_EQ(ExplainText(5),
            "0x00000005, 5\n"
            "  ERROR_ACCESS_DENIED: access is denied\n"
            "  from the runtime, every procedure: endpoint descriptor: the caller is not admitted to the endpoint");
  EXPECT_EQ(ExplainText(4711), "0x00001267, 4711\n  not known here");
  EXPECT_FALSE(IsKnownCode(4711));
  EXPECT_TRUE(IsKnownCode(0));
}

TEST(ExplainTextTest, SaysItInJson) {
  const auto object = ExplainJson(1);
  EXPECT_EQ(object.at("result"), "S_FALSE");
  EXPECT_EQ(object.at("name"), "ERROR_INVALID_FUNCTION");
  EXPECT_EQ(object.at("answers").size(), 3u);
  EXPECT_EQ(object.at("answers")[2].at("from"), "app service: query");
  const auto refused = ExplainJson(0x80070005);
  EXPECT_EQ(refused.at("carries"), 5);
  EXPECT_EQ(refused.at("signed"), -2147024891);
  EXPECT_EQ(refused.at("answers")[0].at("layer"), "procedure");
}

}  // namespace
}  // namespace tool
