#include "bench/figures.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "bench/statistics.h"

namespace bench {

Figure FigureOf(std::string name, std::string unit, std::vector<double> rounds, double most) {
  const double value = Median(rounds);
  return {std::move(name), std::move(unit), value, most, std::move(rounds)};
}

bool AllHold(const std::vector<Figure>& figures) {
  return std::all_of(figures.begin(), figures.end(), [](const Figure& figure) { return figure.Holds(); });
}

void PrintTable(const std::vector<Figure>& figures) {
  for (const Figure& figure : figures) {
    std::printf("%-58s %10.2f %-9s", figure.name.c_str(), figure.value, figure.unit.c_str());
    if (figure.most != 0) std::printf("  at most %g%s", figure.most, figure.Holds() ? "" : "  MISSED");
    std::printf("\n");
  }
}

void PrintJson(const std::vector<Figure>& figures) {
  nlohmann::json all = nlohmann::json::array();
  for (const Figure& figure : figures) {
    nlohmann::json each = {
        {"name", figure.name}, {"unit", figure.unit}, {"value", figure.value}, {"rounds", figure.rounds}};
    if (figure.most != 0) each.update({{"most", figure.most}, {"holds", figure.Holds()}});
    all.push_back(std::move(each));
  }
  std::printf("%s\n", nlohmann::json{{"figures", all}, {"holds", AllHold(figures)}}.dump(2).c_str());
}

}  // namespace bench
