// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Result.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace quillo::server {

enum class InflateError { TooLarge, Malformed };

// A gzip body inflated, or why not: more than `maxBytes` once inflated (inflation stops as soon
// as the bound is passed, so a small bomb costs no more than the bound), or not one complete
// gzip stream. Concatenated members are taken, as gzip itself does.
Result<std::string, InflateError> inflateGzip(std::string_view compressed, size_t maxBytes);

} // namespace quillo::server
