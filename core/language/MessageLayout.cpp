// SPDX-License-Identifier: Apache-2.0
#include "MessageLayout.h"

#include "language/Romanizer.h"
#include "model/Languages.h"

namespace quillo {

MessageLayout layOutMessage(const LayoutRequest& request) {
    const QString& language = request.language;
    MessageLayout layout;
    layout.segments =
        Segments::build(request.text, request.glosses, [&language](const QString& gap) {
            return WordBreaks::ranges(gap, language);
        });
    if (!request.withReadings || !supportsRomanization(language))
        return layout;
    for (const Segment& segment : layout.segments) {
        const TextRange range = segment.range();
        if (auto reading =
                Romanizer::romanize(request.text.sliced(range.location, range.length), language))
            layout.readings.append({range, std::move(*reading)});
    }
    return layout;
}

} // namespace quillo
