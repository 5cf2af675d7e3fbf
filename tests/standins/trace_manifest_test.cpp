// The manifest tells whoever reads a trace what the provider writes.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "standins/etw/trace_event.h"

namespace {

using Matches = std::vector<std::smatch>;

std::string ReadManifest() {
  std::ifstream file(TRACE_MANIFEST);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Matches All(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  return {std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator()};
}

struct DescribedEvent {
  std::string name;
  std::uint64_t keywords = 0;
  std::vector<std::string> fields;
  bool operator==(const DescribedEvent&) const = default;
};

std::map<std::string, std::vector<std::string>> Templates(const std::string& manifest) {
  std::map<std::string, std::vector<std::string>> templates;
  for (const std::smatch& one : All(manifest, R"re(<template tid="(\w+)">([^]*?)</template>)re")) {
    const std::string body = one[2];
    for (const std::smatch& field : All(body, R"re(<data name="(\w+)" inType="win:UInt32")re"))
      templates[one[1]].push_back(field[1]);
  }
  return templates;
}

std::map<int, DescribedEvent> ManifestEvents(const std::string& manifest) {
  std::map<std::string, std::uint64_t> masks;
  for (const std::smatch& keyword : All(manifest, R"re(<keyword name="(\w+)" mask="0x(\w+)")re"))
    masks[keyword[1]] = std::stoull(keyword[2], nullptr, 16);
  auto templates = Templates(manifest);
  std::map<int, DescribedEvent> events;
  const char* pattern =
      R"re(<event value="(\d+)" symbol="(\w+)" level="win:Informational" keywords="(\w+)" template="(\w+)")re";
  for (const std::smatch& event : All(manifest, pattern))
    events[std::stoi(event[1])] = {event[2], masks[event[3]], templates[event[4]]};
  return events;
}

std::map<int, DescribedEvent> WrittenEvents() {
  std::map<int, DescribedEvent> events;
  for (const TraceEvent* event : kTraceEvents) {
    DescribedEvent described = {event->name, event->keywords, {}};
    for (const char* field : event->fields)
      if (field != nullptr) described.fields.emplace_back(field);
    events[event->id] = described;
  }
  return events;
}

TEST(TraceManifest, DescribesEveryEventAsItIsWritten) {
  const std::string manifest = ReadManifest();
  const auto written = WrittenEvents();
  EXPECT_EQ(written.size(), std::size(kTraceEvents)) << "two events have one number";
  EXPECT_EQ(ManifestEvents(manifest), written);
}

TEST(TraceManifest, NamesTheProviderAndEveryText) {
  const std::string manifest = ReadManifest();
  char id[64];
  const std::uint8_t* rest = kProviderId.rest;
  std::snprintf(id, sizeof id, "guid=\"{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}\"", kProviderId.first,
                kProviderId.second, kProviderId.third, rest[0], rest[1], rest[2], rest[3], rest[4], rest[5], rest[6],
                rest[7]);
  EXPECT_NE(manifest.find(id), std::string::npos) << id;
  const Matches used = All(manifest, R"re(\$\(string\.([\w.]+)\))re");
  EXPECT_GT(used.size(), std::size(kTraceEvents));
  for (const std::smatch& text : used)
    EXPECT_NE(manifest.find("<string id=\"" + text[1].str() + "\""), std::string::npos) << text[1];
}

}  // namespace
