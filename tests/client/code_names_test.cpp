#include "client/code_names.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace client
