// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BotProfile.h"
#include "MessageList.h"

#include <QMap>
#include <QSet>

// Pieces that both merges of a downloaded document use (StoredStateMerge.cpp and
// StoredStateThreeWay.cpp); nothing else should need them.
namespace quillo::merge {

// The ids of these contacts.
QSet<QString> contactIds(const QList<BotProfile>& bots);

// Every message of both lists, united by id. A message on both sides takes the downloaded
// version with the local glosses, as long as the text is the one they gloss, and the later
// correction of the two. Downloaded order
// first, then the local-only messages in local order, then a stable sort by createdAt, so two
// devices that merge each other's copies settle on one order. Gives back `local` itself, chunks
// and all, when the result equals it.
MessageList unitedMessages(const MessageList& local, const MessageList& downloaded);

// The downloaded messages alone, in their order, with the local glosses carried over as above.
// Gives back `local` itself when the result equals it.
MessageList glossedDownload(const MessageList& local, const MessageList& downloaded);

// For each of these contacts that has a mark on either side, the later of the two, a missing
// mark counting as 0.
QMap<QString, qint64> laterMarks(const QSet<QString>& contactIds,
                                 const QMap<QString, qint64>& local,
                                 const QMap<QString, qint64>& downloaded);

// The entries of `map` that belong to these contacts.
QMap<QString, qint64> onlyFor(const QSet<QString>& contactIds, const QMap<QString, qint64>& map);

} // namespace quillo::merge
