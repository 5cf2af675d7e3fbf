// Order statistics of what was measured.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

// The value below which `part` (0 to 1) of `values` lie; 0 when there are none.
template <typename Value>
Value Quantile(std::vector<Value> values, double part) {
  if (values.empty()) return {};
  const auto position = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + position, values.end());
  return values[static_cast<std::size_t>(position)];
}

template <typename Value>
Value Median(const std::vector<Value>& values) {
  return Quantile(values, 0.5);
}

}  // namespace bench
