// What a measurement says: figures, some of which have to hold.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct Figure {
  std::string name;
  std::string unit;
  double value = 0;
  double most = 0;             // must not be above this; 0: told only
  std::vector<double> rounds;  // what each round gave; `value` is their median

  bool Holds() const { return most == 0 || value <= most; }
};

// A figure of several rounds.
Figure FigureOf(std::string name, std::string unit, std::vector<double> rounds, double most = 0);

bool AllHold(const std::vector<Figure>& figures);

void PrintTable(const std::vector<Figure>& figures);
// One JSON object, with an array of the figures.
void PrintJson(const std::vector<Figure>& figures);

}  // namespace bench
