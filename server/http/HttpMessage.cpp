// SPDX-License-Identifier: Apache-2.0
#include "HttpMessage.h"

#include <algorithm>

namespace quillo::server {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
        return lower(x) == lower(y);
    });
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// A malformed escape is kept as it stands rather than guessed at.
std::string decoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            out += ' ';
        } else if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                   hexValue(text[i + 2]) >= 0) {
            out += char(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

} // namespace

std::string HttpRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (sameName(key, name))
            return value;
    }
    return {};
}

std::optional<std::string> HttpRequest::parameter(std::string_view name) const {
    std::string_view rest = query;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('&'), rest.size());
        const std::string_view pair = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const size_t equals = pair.find('=');
        const std::string_view key = pair.substr(0, equals);
        if (decoded(key) == name)
            return equals == std::string_view::npos ? std::string()
                                                    : decoded(pair.substr(equals + 1));
    }
    return std::nullopt;
}

void HttpResponse::setHeader(std::string name, std::string value) {
    std::erase_if(headers, [&](const auto& header) { return sameName(header.first, name); });
    headers.emplace_back(std::move(name), std::move(value));
}

} // namespace quillo::server
