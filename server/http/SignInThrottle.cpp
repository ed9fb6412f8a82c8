// SPDX-License-Identifier: Apache-2.0
#include "SignInThrottle.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>

namespace quillo::server {

namespace {

// The unit that is counted: an IPv4 address, or the /64 network of an IPv6 one.
std::string counted(const std::string& address) {
    boost::system::error_code invalid;
    const auto parsed = boost::asio::ip::make_address(address, invalid);
    if (invalid || !parsed.is_v6())
        return address;
    const auto v6 = parsed.to_v6();
    if (v6.is_v4_mapped())
        return boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, v6).to_string();
    auto bytes = v6.to_bytes();
    std::fill(bytes.begin() + 8, bytes.end(), 0);
    return boost::asio::ip::address_v6(bytes).to_string() + "/64";
}

} // namespace

std::optional<qint64> SignInThrottle::waitFor(const std::string& address, qint64 now) {
    std::lock_guard lock(m_mutex);
    const auto found = m_records.find(counted(address));
    if (found == m_records.end() || found->second.blockedUntil <= now)
        return std::nullopt;
    return found->second.blockedUntil - now;
}

void SignInThrottle::failed(const std::string& address, qint64 now) {
    std::lock_guard lock(m_mutex);
    const std::string key = counted(address);
    auto found = m_records.find(key);
    if (found == m_records.end()) {
        makeRoom(now);
        found = m_records.emplace(key, Record{}).first;
    }
    Record& record = found->second;
    if (now - record.lastFailure > forgetAfterMillis)
        record = Record{};
    ++record.failures;
    record.lastFailure = now;
    const int beyond = record.failures - freeFailures;
    if (beyond > 0) {
        // 1 s, 2 s, 4 s, ... up to the longest wait; the shift stays far from overflowing.
        const qint64 wait = firstWaitMillis << std::min(beyond - 1, 20);
        record.blockedUntil = now + std::min(wait, longestWaitMillis);
    }
}

void SignInThrottle::succeeded(const std::string& address) {
    std::lock_guard lock(m_mutex);
    m_records.erase(counted(address));
}

size_t SignInThrottle::remembered() const {
    std::lock_guard lock(m_mutex);
    return m_records.size();
}

void SignInThrottle::makeRoom(qint64 now) {
    if (m_records.size() < maxAddresses)
        return;
    std::erase_if(m_records, [now](const auto& entry) {
        return now - entry.second.lastFailure > forgetAfterMillis;
    });
    if (m_records.size() < maxAddresses)
        return;
    // Still full of recent failures (many addresses at once): forgetting the quietest one keeps
    // memory bounded; a blocked address is never the one chosen while others are not blocked.
    const auto quietest =
        std::min_element(m_records.begin(), m_records.end(), [](const auto& a, const auto& b) {
            return std::pair(a.second.blockedUntil, a.second.lastFailure) <
                   std::pair(b.second.blockedUntil, b.second.lastFailure);
        });
    m_records.erase(quietest);
}

} // namespace quillo::server
