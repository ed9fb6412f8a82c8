// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace quillo::server {

// Slows down guessing: a client address that keeps failing to sign in must wait longer and
// longer before it may try again. The first few failures are free (people mistype codes); after
// them each failure doubles the wait, up to a quarter of an hour. A success, or a day without
// failures, forgives the address. IPv6 addresses count by their /64 network, which one client
// usually holds whole.
//
// Kept in memory: each service process counts for itself. Safe from many threads.
class SignInThrottle {
public:
    static constexpr int freeFailures = 5;
    static constexpr qint64 firstWaitMillis = 1000;
    static constexpr qint64 longestWaitMillis = 15 * 60 * 1000;
    static constexpr qint64 forgetAfterMillis = 24 * 60 * 60 * 1000;
    // Addresses remembered at once; past it the longest-quiet ones are forgotten first.
    static constexpr size_t maxAddresses = 65'536;

    // How long `address` must still wait before it may try; nothing when it may try now.
    std::optional<qint64> waitFor(const std::string& address, qint64 now);
    void failed(const std::string& address, qint64 now);
    void succeeded(const std::string& address);

    size_t remembered() const;

private:
    struct Record {
        int failures = 0;
        qint64 lastFailure = 0;
        qint64 blockedUntil = 0;
    };
    void makeRoom(qint64 now);

    mutable std::mutex m_mutex;
    std::unordered_map<std::string, Record> m_records;
};

} // namespace quillo::server
