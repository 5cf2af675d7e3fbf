#include "client/code_names.h"

#include <gtest/gtest.h>

#include "client/interface_answers.h"

namespace client {
namespace {

TEST(CodeNamesTest, DescribesCodes) {
  struct Case {
    std::uint32_t code;
    const char* text;
  };
  const Case cases[] = {
      {1722, "1722 (RPC_S_SERVER_UNAVAILABLE: the RPC server is unavailable)"},
      {0x80070015, "0x80070015 (ERROR_NOT_READY: not ready: the service is stopping)"},
      {0x800706FF, "0x800706FF (RPC_S_CALL_IN_PROGRESS: another call on this subscription is in progress)"},
      {0x80004005, "0x80004005 (E_FAIL: unspecified failure)"},
      {0x1C010002, "0x1C010002 (nca_s_op_rng_error: the server does not have this procedure)"},
      {7022, "7022 (ERROR_CTX_WINSTATION_NOT_FOUND: there is no such session)"},
      {4711, "4711"},
      {0x80070000, "0x80070000"},
      {0x80071267, "0x80071267"},
      {0x80080005, "0x80080005"},
  };
  for (const Case& test : cases) EXPECT_EQ(DescribeCode(test.code), test.text);
}

// A result is named as a result, and names lead back to their codes.
TEST(CodeNamesTest, KnowsResultsAndNames) {
  EXPECT_EQ(DescribeResult(0), "0 (S_OK: success)");
  EXPECT_EQ(ResultName(1), "S_FALSE");
  EXPECT_EQ(ResultName(0x80004005), "E_FAIL");
  EXPECT_EQ(CodeOfName("rpc_s_server_unavailable"), 1722u);
  EXPECT_EQ(CodeOfName("S_FALSE"), 1u);
  EXPECT_EQ(CodeOfName("e_accessdenied"), 0x80070005u);
  EXPECT_EQ(CodeOfName("WAIT_FAILED"), 0xFFFFFFFFu);
  EXPECT_EQ(CodeOfName("RPC_S_SERVER"), std::nullopt);
  EXPECT_EQ(CodeOfName(""), std::nullopt);
}

// Whatever the interface answers has a name.
TEST(CodeNamesTest, NamesEveryAnswerOfTheInterface) {
  for (std::uint32_t code :
       {0u,          1u,          5u,          6u,          87u,         1722u,       1726u,       1745u,
        1775u,       0x80004001u, 0x80004005u, 0x80070002u, 0x80070005u, 0x80070006u, 0x8007000Eu, 0x80070015u,
        0x80070057u, 0x8007007Eu, 0x8007007Fu, 0x800700EAu, 0x800704C7u, 0x800705B4u, 0x800706FFu, 0xFFFFFFFFu}) {
    EXPECT_FALSE(CodeName(code).empty()) << code;
    const std::vector<InterfaceAnswer> answers = InterfaceAnswers(code);
    EXPECT_FALSE(answers.empty()) << code;
    for (const InterfaceAnswer& answer : answers) EXPECT_EQ(answer.code, code);
  }
  EXPECT_EQ(InterfaceAnswers(1).size(), 3u);
  EXPECT_TRUE(InterfaceAnswers(4711).empty());
}

}  // namespace
}  // namespace client
