// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioBuffer.h"

#include <QList>
#include <QLocale>
#include <QString>

#include <functional>
#include <memory>

namespace quillo {

// What a recogniser has heard so far. A partial result may still change; a final one ends the
// recognition. An error ends it too, with whatever was heard lost.
struct RecognitionResult {
    QString transcript;
    bool isFinal = false;
    bool isError = false;
};

// One recognition: audio goes in (from any thread), results come out on the main thread
// through the handler it was started with, until it ends or is cancelled.
class Recognition {
public:
    virtual ~Recognition() = default;
    virtual void append(const AudioBuffer& buffer) = 0;
    // No more audio: the final result follows.
    virtual void endAudio() = 0;
    // No more results either.
    virtual void cancel() = 0;
};

// Speech to text in a language, behind one interface whatever does the work.
class Recognizer {
public:
    using Handler = std::function<void(const RecognitionResult&)>;

    virtual ~Recognizer() = default;
    virtual QList<QLocale> supportedLocales() const = 0;
    // Whether it can listen in that locale right now.
    virtual bool isAvailable(const QLocale& locale) const = 0;
    virtual std::shared_ptr<Recognition> recognize(const QLocale& locale, Handler handler) = 0;
};

} // namespace quillo
