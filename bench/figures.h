// What a measurement says: figures, some of which have to hold.
#pragma once

#include <string>
#include <vector>

namespace bench {

// What a figure has to be. Without a bound it is told only.
struct Goal {
  enum Kind { kNone, kAtMost, kAtLeast };

  Kind kind = kNone;
  double must = 0;
  double aim = 0;  // 0: none beyond the must
};

constexpr Goal AtMost(double must, double aim = 0) {
  return {Goal::kAtMost, must, aim};
}
constexpr Goal AtLeast(double must, double aim = 0) {
  return {Goal::kAtLeast, must, aim};
}

struct Figure {
  std::string name;
  std::string unit;
  double value = 0;
  Goal goal;
  std::vector<double> rounds;  // what each round gave; `value` is their median

  bool Holds() const { return Reaches(goal.must); }
  bool ReachesAim() const { return goal.aim == 0 || Reaches(goal.aim); }

 private:
  bool Reaches(double bound) const;
};

// A figure of several rounds.
Figure FigureOf(std::string name, std::string unit, std::vector<double> rounds, Goal goal = {});

bool AllHold(const std::vector<Figure>& figures);

void PrintTable(const std::vector<Figure>& figures);
// One JSON object, with an array of the figures.
void PrintJson(const std::vector<Figure>& figures);

}  // namespace bench
