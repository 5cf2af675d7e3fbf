// Stub data in both transfer syntaxes. They differ in one thing here: the counts of a string are 4 bytes wide in NDR
// and 8, aligned to 8, in NDR64. Top-level reference parameters carry no referent in either.
#include <algorithm>

#include "platform/host/rpc/pdu.h"
#include "platform/host/rpc/stub.h"
#include "platform/host/rpc/wire_bytes.h"

namespace host::rpc {

namespace {

constexpr std::size_t kWordAlignment = 4;
constexpr std::size_t kPadding = 8;  // fewer bytes than this may follow the last parameter

bool IsIn(const Parameter& parameter) {
  return parameter.direction != Direction::Out;
}
bool IsOut(const Parameter& parameter) {
  return parameter.direction != Direction::In;
}

std::size_t CountSize(Syntax syntax) {
  return syntax == Syntax::Ndr64 ? 8 : 4;
}

std::uint64_t GetCount(ByteReader& reader, Syntax syntax) {
  reader.Align(CountSize(syntax));
  return syntax == Syntax::Ndr64 ? reader.Get<std::uint64_t>() : reader.Get<std::uint32_t>();
}

void PutCount(ByteWriter& writer, Syntax syntax, std::uint64_t count) {
  writer.Align(CountSize(syntax));
  if (syntax == Syntax::Ndr64) {
    writer.Put(count);
  } else {
    writer.Put(static_cast<std::uint32_t>(count));
  }
}

// A conformant varying string: maximum count, offset, actual count, characters with the terminator.
bool GetString(ByteReader& reader, Syntax syntax, std::u16string& text) {
  const std::uint64_t maximum = GetCount(reader, syntax);
  const std::uint64_t offset = GetCount(reader, syntax);
  const std::uint64_t actual = GetCount(reader, syntax);
  if (reader.Failed() || offset != 0 || actual == 0 || actual > maximum) return false;
  if (actual > reader.Left() / sizeof(char16_t)) return false;
  const auto bytes = reader.Take(static_cast<std::size_t>(actual) * sizeof(char16_t));
  text.resize(static_cast<std::size_t>(actual));
  std::memcpy(text.data(), bytes.data(), bytes.size());
  const bool terminated = text.find(u'\0') == text.size() - 1;
  text.pop_back();
  return terminated;
}

void PutString(ByteWriter& writer, Syntax syntax, const std::u16string& text) {
  const std::size_t count = text.size() + 1;
  PutCount(writer, syntax, count);
  PutCount(writer, syntax, 0);
  PutCount(writer, syntax, count);
  writer.Append(std::as_bytes(std::span(text.c_str(), count)));
}

template <std::size_t size>
void GetBlock(ByteReader& reader, std::array<std::byte, size>& block) {
  reader.Align(kWordAlignment);
  const auto bytes = reader.Take(size);
  std::copy(bytes.begin(), bytes.end(), block.begin());
}

void PutBlock(ByteWriter& writer, std::span<const std::byte> block) {
  writer.Align(kWordAlignment);
  writer.Append(block);
}

std::uint32_t GetLong(ByteReader& reader) {
  reader.Align(kWordAlignment);
  return reader.Get<std::uint32_t>();
}

void PutLong(ByteWriter& writer, std::uint32_t value) {
  writer.Align(kWordAlignment);
  writer.Put(value);
}

bool GetArgument(ByteReader& reader, Syntax syntax, ParameterKind kind, Argument& argument) {
  switch (kind) {
    case ParameterKind::Binding:
      break;
    case ParameterKind::Long:
      argument.number = GetLong(reader);
      break;
    case ParameterKind::WideString:
      return GetString(reader, syntax, argument.text);
    case ParameterKind::Context:
      GetBlock(reader, argument.token.bytes);
      break;
    case ParameterKind::Record:
      GetBlock(reader, argument.record);
      break;
  }
  return !reader.Failed();
}

void PutArgument(ByteWriter& writer, Syntax syntax, ParameterKind kind, const Argument& argument) {
  switch (kind) {
    case ParameterKind::Binding:
      return;
    case ParameterKind::Long:
      return PutLong(writer, argument.number);
    case ParameterKind::WideString:
      return PutString(writer, syntax, argument.text);
    case ParameterKind::Context:
      return PutBlock(writer, argument.token.bytes);
    case ParameterKind::Record:
      return PutBlock(writer, argument.record);
  }
}

bool GetArguments(ByteReader& reader, const Procedure& procedure, Syntax syntax, bool (*select)(const Parameter&),
                  Call& call) {
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    const Parameter& parameter = procedure.parameters[i];
    if (select(parameter) && !GetArgument(reader, syntax, parameter.kind, call.arguments[i])) return false;
  }
  return true;
}

void PutArguments(ByteWriter& writer, const Procedure& procedure, Syntax syntax, bool (*select)(const Parameter&),
                  const Call& call) {
  for (std::size_t i = 0; i < procedure.parameters.size(); ++i) {
    const Parameter& parameter = procedure.parameters[i];
    if (select(parameter)) PutArgument(writer, syntax, parameter.kind, call.arguments[i]);
  }
}

}  // namespace

std::uint32_t ReadRequest(const Procedure& procedure, Syntax syntax, std::span<const std::byte> stub, Call& call) {
  call.arguments.clear();
  call.arguments.resize(procedure.parameters.size());
  call.result = 0;
  ByteReader reader(stub);
  const bool good = GetArguments(reader, procedure, syntax, IsIn, call) && reader.Left() < kPadding;
  return good ? 0 : kFaultBadStubData;
}

void WriteResponse(const Procedure& procedure, Syntax syntax, const Call& call, std::vector<std::byte>& stub) {
  ByteWriter writer(stub);
  PutArguments(writer, procedure, syntax, IsOut, call);
  PutLong(writer, call.result);
}

void WriteRequest(const Procedure& procedure, Syntax syntax, const Call& call, std::vector<std::byte>& stub) {
  ByteWriter writer(stub);
  PutArguments(writer, procedure, syntax, IsIn, call);
}

std::uint32_t ReadResponse(const Procedure& procedure, Syntax syntax, std::span<const std::byte> stub, Call& call) {
  call.arguments.resize(procedure.parameters.size());
  ByteReader reader(stub);
  if (!GetArguments(reader, procedure, syntax, IsOut, call)) return kFaultBadStubData;
  call.result = GetLong(reader);
  return !reader.Failed() && reader.Left() < kPadding ? 0 : kFaultBadStubData;
}

}  // namespace host::rpc
