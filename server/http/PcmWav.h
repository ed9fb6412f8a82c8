#pragma once

#include "common/Result.h"

#include <QByteArrayView>
#include <QString>

namespace quillo::server {

// A dictated recording as the service accepts it: a RIFF/WAVE file of 16-bit PCM samples. The
// header is checked before the audio goes anywhere, so that a speech server is never sent
// something it would choke on, and the app learns at once that its recorder wrote a bad file.
struct PcmWav {
    int channels = 0;
    int sampleRate = 0;
    qint64 dataBytes = 0;

    // The format of `bytes`, or why it is refused (a 400). The samples themselves are not
    // looked at; chunks after "data" are ignored.
    static Result<PcmWav, QString> parse(QByteArrayView bytes);
};

} // namespace quillo::server
