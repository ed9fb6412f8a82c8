#include "PcmWav.h"

#include <QtEndian>

#include <optional>

namespace quillo::server {

namespace {

constexpr int pcmFormat = 1;

quint16 le16(QByteArrayView bytes, qint64 at) {
    return qFromLittleEndian<quint16>(bytes.data() + at);
}

quint32 le32(QByteArrayView bytes, qint64 at) {
    return qFromLittleEndian<quint32>(bytes.data() + at);
}

QString refused(const char16_t* why) {
    return QStringLiteral("audio: ") + QString::fromUtf16(why);
}

} // namespace

Result<PcmWav, QString> PcmWav::parse(QByteArrayView bytes) {
    const qint64 size = bytes.size();
    if (size < 12 || bytes.first(4) != "RIFF" || bytes.sliced(8, 4) != "WAVE")
        return refused(u"expected a RIFF/WAVE file");

    std::optional<PcmWav> format;
    qint64 at = 12;
    while (at + 8 <= size) {
        const QByteArrayView id = bytes.sliced(at, 4);
        const qint64 length = le32(bytes, at + 4);
        const qint64 body = at + 8;
        if (length > size - body)
            return refused(u"a WAV chunk runs past the end");
        if (id == "fmt ") {
            if (length < 16)
                return refused(u"the fmt chunk is too short");
            if (le16(bytes, body) != pcmFormat || le16(bytes, body + 14) != 16)
                return refused(u"expected 16-bit PCM samples");
            const int channels = le16(bytes, body + 2);
            const qint64 sampleRate = le32(bytes, body + 4);
            if (channels == 0 || sampleRate == 0 || sampleRate > 384'000)
                return refused(u"unusable channels or sample rate");
            format = PcmWav{channels, int(sampleRate), 0};
        } else if (id == "data") {
            if (!format)
                return refused(u"no fmt chunk before the data");
            if (length == 0)
                return refused(u"no samples");
            format->dataBytes = length;
            return *format;
        }
        at = body + length + (length & 1); // chunks are padded to an even length
    }
    return refused(u"no data chunk");
}

} // namespace quillo::server
