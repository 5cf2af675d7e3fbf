// What the calls of the registry cost that the service makes all day: a key that is not there, a value read and a value
// written, each the median of its calls.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bench/clock.h"
#include "bench/measurement.h"
#include "bench/statistics.h"
#include "bench/temporary_machine.h"
#include "platform/errors.h"
#include "platform/host/registry/registry_control.h"
#include "platform/registry.h"

namespace {

// Six steps, the last of which does not exist.
constexpr const WCHAR* kMissing = W("Software\\Quorvex\\HKD04A7\\Events\\UwpAppService\\37");
constexpr const WCHAR* kParent = W("Software\\Quorvex\\HKD04A7\\Events\\UwpAppService");
constexpr const WCHAR* kValue = W("CurrentVersion");

struct Operation {
  const char* name;
  std::function<bool()> call;
};

HKEY MakeKey() {
  HKEY key = nullptr;
  const LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kParent, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
  return status == ERROR_SUCCESS ? key : nullptr;
}

bool OpenMissing() {
  HKEY key = nullptr;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, kMissing, 0, KEY_READ, &key) == ERROR_FILE_NOT_FOUND;
}

bool WriteValue(HKEY key) {
  static DWORD word = 0;
  ++word;
  return RegSetValueExW(key, kValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&word), sizeof(word)) == ERROR_SUCCESS;
}

bool ReadValue(HKEY key) {
  DWORD word = 0;
  DWORD size = sizeof(word);
  return RegQueryValueExW(key, kValue, nullptr, nullptr, reinterpret_cast<BYTE*>(&word), &size) == ERROR_SUCCESS;
}

// The median of one call in microseconds; 0 when one did not answer as it should.
double MeasureFor(std::int64_t nanoseconds, const Operation& operation) {
  std::vector<std::int64_t> times;
  const std::int64_t until = bench::Now() + nanoseconds;
  for (std::int64_t begin = bench::Now(); begin < until;) {
    if (!operation.call()) return 0;
    const std::int64_t end = bench::Now();
    times.push_back(end - begin);
    begin = end;
  }
  return bench::Microseconds(bench::Median(times));
}

std::vector<bench::Figure> Measure(const bench::Measurement& measurement, HKEY key) {
  const Operation operations[] = {
      {"open of a key that is not there, six steps", OpenMissing},
      {"write of a value", [key] { return WriteValue(key); }},
      {"read of a value", [key] { return ReadValue(key); }},
  };
  std::vector<bench::Figure> figures;
  for (const Operation& operation : operations) {
    std::vector<double> rounds;
    for (unsigned i = 0; i < measurement.rounds; ++i) rounds.push_back(MeasureFor(measurement.Phase(), operation));
    figures.push_back(bench::FigureOf(operation.name, "us", rounds));
  }
  return figures;
}

bool AnyFailed(const std::vector<bench::Figure>& figures) {
  for (const bench::Figure& figure : figures) {
    for (const double round : figure.rounds) {
      if (round == 0) return true;
    }
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  bench::Measurement measurement;
  CLI::App app("What calls of the registry cost.", "registry-bench");
  bench::AddOptions(app, measurement);
  int code = 0;
  if (!bench::Prepare(app, argc, argv, measurement, &code)) return code;

  const bench::TemporaryMachine machine;
  const HKEY key = MakeKey();
  const auto figures = key == nullptr ? std::vector<bench::Figure>{} : Measure(measurement, key);
  RegCloseKey(key);
  host::CloseRegistry();
  if (key != nullptr && !AnyFailed(figures)) return bench::Report(measurement, figures);
  std::fprintf(stderr, "registry-bench: a call of the registry failed\n");
  return 1;
}
