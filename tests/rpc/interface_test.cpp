// The interface definition (rpc/hkd04a7_rpc.idl and .acf) and the description that drives the host say the same.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <regex>
#include <sstream>

#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/uuid_text.h"

namespace host::rpc {
namespace {

using namespace hkd04a7;

// The file without its comments.
std::string ReadInterfaceFile(const std::string& name) {
  std::ifstream file(std::string(HKD_INTERFACE_FOLDER) + "/" + name);
  EXPECT_TRUE(file.is_open()) << name;
  std::ostringstream text;
  text << file.rdbuf();
  return std::regex_replace(text.str(), std::regex("//[^\n]*"), "");
}

using Groups = std::vector<std::string>;

std::vector<Groups> FindAll(const std::string& text, const std::regex& pattern) {
  std::vector<Groups> found;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    found.emplace_back(match->begin(), match->end());
  }
  return found;
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::optional<Direction> DirectionFrom(const std::string& attributes) {
  const bool in = std::regex_search(attributes, std::regex("\\bin\\b"));
  const bool out = std::regex_search(attributes, std::regex("\\bout\\b"));
  if (in && out) return Direction::InOut;
  if (!in && !out) return std::nullopt;
  return in ? Direction::In : Direction::Out;
}

// How a kind of parameter is spelled, in its direction.
std::string Spelling(const Parameter& parameter) {
  const bool byPointer = parameter.direction != Direction::In;
  switch (parameter.kind) {
    case ParameterKind::Binding:
      return "handle_t";
    case ParameterKind::Long:
      return byPointer ? "unsigned long*" : "unsigned long";
    case ParameterKind::WideString:
      return "const wchar_t*";
    case ParameterKind::Context:
      return kContextTypes[parameter.contextType].name + std::string(byPointer ? "*" : "");
    case ParameterKind::Record:
      return "Hkd04a7Rpc_EventRecord*";
  }
  return {};
}

void ExpectSameParameters(const std::string& list, const Procedure& procedure) {
  const auto written = FindAll(list, std::regex(R"(\[([^\]]*)\]\s*([\w ]+\*?)\s+(\w+))"));
  ASSERT_EQ(written.size(), procedure.parameters.size());
  for (std::size_t i = 0; i < written.size(); ++i) {
    const Parameter& parameter = procedure.parameters[i];
    EXPECT_EQ(written[i][3], parameter.name);
    EXPECT_EQ(written[i][2], Spelling(parameter)) << parameter.name;
    EXPECT_EQ(DirectionFrom(written[i][1]), parameter.direction) << parameter.name;
    EXPECT_EQ(Contains(written[i][1], "string"), parameter.kind == ParameterKind::WideString) << parameter.name;
  }
}

TEST(InterfaceDefinition, ProceduresInOrderWithTheirParameters) {
  const std::string idl = ReadInterfaceFile("hkd04a7_rpc.idl");
  const auto procedures = FindAll(idl, std::regex(R"((\w+)\s+(Hkd04a7Rpc_\w+)\s*\(([^;]*)\)\s*;)"));
  ASSERT_EQ(procedures.size(), kProcedures.size());
  for (std::size_t i = 0; i < procedures.size(); ++i) {
    SCOPED_TRACE(kProcedures[i].name);
    EXPECT_EQ(procedures[i][1], "long");
    EXPECT_EQ(procedures[i][2], kProcedures[i].name);
    ExpectSameParameters(procedures[i][3], kProcedures[i]);
  }
}

TEST(InterfaceDefinition, IdentityAndTypes) {
  const std::string idl = ReadInterfaceFile("hkd04a7_rpc.idl");
  EXPECT_TRUE(Contains(idl, "uuid(" + UuidText(kInterfaceUuid) + ")"));
  EXPECT_TRUE(Contains(idl, "version(" + std::to_string(kMajorVersion) + "." + std::to_string(kMinorVersion) + ")"));
  const auto record = FindAll(idl, std::regex(R"(struct Hkd04a7Rpc_EventRecord\s*\{([^}]*)\})"));
  ASSERT_EQ(record.size(), 1u);
  const auto fields = FindAll(record[0][1], std::regex(R"(unsigned long (\w+);)"));
  ASSERT_EQ(fields.size(), 3u);
  EXPECT_EQ(fields[0][1], "eventId");
  EXPECT_EQ(fields[1][1], "data1");
  EXPECT_EQ(fields[2][1], "data2");
}

TEST(InterfaceDefinition, AttributesOfContextHandlesAndCalls) {
  const std::string idl = ReadInterfaceFile("hkd04a7_rpc.idl");
  const std::string acf = ReadInterfaceFile("hkd04a7_rpc.acf");
  for (const ContextHandleType& type : kContextTypes) {
    const std::string name = type.name;
    EXPECT_TRUE(Contains(idl, "typedef [context_handle] void* " + name + ";")) << name;
    // Once for the compiler that reads it in the one file, once for the other.
    EXPECT_EQ(Contains(idl, "typedef [context_handle_noserialize] void* " + name + ";"), !type.serialized) << name;
    EXPECT_EQ(Contains(acf, "typedef [context_handle_noserialize] " + name + ";"), !type.serialized) << name;
  }
  for (const Procedure& procedure : kProcedures) {
    EXPECT_EQ(Contains(acf, "[async] " + std::string(procedure.name) + "();"), procedure.asynchronous)
        << procedure.name;
  }
  EXPECT_TRUE(Contains(acf, "explicit_handle"));
  EXPECT_FALSE(Contains(idl + acf, "strict_context_handle"));
}

}  // namespace
}  // namespace host::rpc
