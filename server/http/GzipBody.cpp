// SPDX-License-Identifier: Apache-2.0
#include "GzipBody.h"

#include <zlib.h>

#include <algorithm>
#include <memory>

namespace quillo::server {

namespace {

constexpr size_t chunkBytes = 64 * 1024;

struct InflateStream {
    z_stream z{};
    bool open = false;

    InflateStream() { open = inflateInit2(&z, 16 + MAX_WBITS) == Z_OK; }
    ~InflateStream() {
        if (open)
            inflateEnd(&z);
    }
    InflateStream(const InflateStream&) = delete;
    InflateStream& operator=(const InflateStream&) = delete;
};

} // namespace

Result<std::string, InflateError> inflateGzip(std::string_view compressed, size_t maxBytes) {
    InflateStream stream;
    if (!stream.open || compressed.empty())
        return InflateError::Malformed;
    stream.z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    // Bodies are bounded far below 4 GiB by the routes, so one call sees the whole input.
    stream.z.avail_in = uInt(compressed.size());

    std::string out;
    for (;;) {
        const size_t room = std::min(chunkBytes, maxBytes + 1 - out.size());
        const size_t used = out.size();
        out.resize(used + room);
        stream.z.next_out = reinterpret_cast<Bytef*>(out.data() + used);
        stream.z.avail_out = uInt(room);
        const int status = inflate(&stream.z, Z_NO_FLUSH);
        out.resize(used + room - stream.z.avail_out);
        if (out.size() > maxBytes)
            return InflateError::TooLarge;
        if (status == Z_STREAM_END) {
            if (stream.z.avail_in == 0)
                return out;
            // Another member follows.
            if (inflateReset(&stream.z) != Z_OK)
                return InflateError::Malformed;
            continue;
        }
        if (status != Z_OK)
            return InflateError::Malformed;
        // No progress with output room left means the input ended mid-stream.
        if (stream.z.avail_in == 0 && stream.z.avail_out > 0)
            return InflateError::Malformed;
    }
}

} // namespace quillo::server
