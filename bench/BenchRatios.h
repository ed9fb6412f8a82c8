// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace quillo::bench {

// A pair of benchmarks whose times are reported side by side as a ratio, measured in the same
// run so that the machine's speed cancels out.
struct Ratio {
    std::string label;
    std::string measured;  // benchmark name, as registered
    std::string reference; // benchmark name it is compared with
};

std::vector<Ratio>& ratios();

// Registers a ratio at static-initialisation time, next to the benchmarks it compares.
struct RegisterRatio {
    RegisterRatio(std::string label, std::string measured, std::string reference) {
        ratios().push_back({std::move(label), std::move(measured), std::move(reference)});
    }
};

} // namespace quillo::bench
