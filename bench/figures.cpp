#include "bench/figures.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "bench/statistics.h"

namespace bench {

namespace {

const char* Direction(const Goal& goal) {
  return goal.kind == Goal::kAtMost ? "at most" : "at least";
}

void PrintGoal(const Figure& figure) {
  std::printf("  %s %g", Direction(figure.goal), figure.goal.must);
  if (figure.goal.aim != 0) std::printf(", aim %g", figure.goal.aim);
  if (!figure.Holds()) {
    std::printf("  MISSED");
  } else if (!figure.ReachesAim()) {
    std::printf("  (aim not reached)");
  }
}

}  // namespace

bool Figure::Reaches(double bound) const {
  if (goal.kind == Goal::kAtMost) return value <= bound;
  return goal.kind == Goal::kNone || value >= bound;
}

Figure FigureOf(std::string name, std::string unit, std::vector<double> rounds, Goal goal) {
  const double value = Median(rounds);
  return {std::move(name), std::move(unit), value, goal, std::move(rounds)};
}

bool AllHold(const std::vector<Figure>& figures) {
  return std::all_of(figures.begin(), figures.end(), [](const Figure& figure) { return figure.Holds(); });
}

void PrintTable(const std::vector<Figure>& figures) {
  for (const Figure& figure : figures) {
    std::printf("%-56s %10.2f %-9s", figure.name.c_str(), figure.value, figure.unit.c_str());
    if (figure.goal.kind != Goal::kNone) PrintGoal(figure);
    std::printf("\n");
  }
}

void PrintJson(const std::vector<Figure>& figures) {
  nlohmann::json all = nlohmann::json::array();
  for (const Figure& figure : figures) {
    nlohmann::json each = {
        {"name", figure.name}, {"unit", figure.unit}, {"value", figure.value}, {"rounds", figure.rounds}};
    if (figure.goal.kind != Goal::kNone) {
      each.update({{Direction(figure.goal), figure.goal.must}, {"holds", figure.Holds()}});
      if (figure.goal.aim != 0) each.update({{"aim", figure.goal.aim}, {"reachesAim", figure.ReachesAim()}});
    }
    all.push_back(std::move(each));
  }
  std::printf("%s\n", nlohmann::json{{"figures", all}, {"holds", AllHold(figures)}}.dump(2).c_str());
}

}  // namespace bench
