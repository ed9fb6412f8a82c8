// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "model/StoredState.h"

#include <QCoroTask>

#include <functional>

namespace quillo {

// What a part of the chat repository may do with the live document. Parts never hold the
// repository itself, so each can be built and read on its own.
class DocumentAccess {
public:
    // Changes a copy of the document in place.
    using Edit = std::function<void(StoredState&)>;

    // Whether an edit touched contacts or languages, so the practised languages must be
    // rebuilt from the contacts before the comparison.
    enum class Languages { Keep, Rebuild };

    DocumentAccess() = default;
    DocumentAccess(const DocumentAccess&) = delete;
    DocumentAccess& operator=(const DocumentAccess&) = delete;

    // The current document.
    virtual const StoredState& document() const = 0;

    // Applies `edit` to a copy of the document; publishes and saves the copy when it differs
    // from the current one. Returns whether anything changed.
    virtual bool apply(const Edit& edit, Languages languages) = 0;

    // Every change so far on disk: true once the file holds the current document (or a later
    // one), false when it could not be written. Anything that records a fact about the document
    // elsewhere (how far it was synchronised, whose it is) waits for this first, so that a crash
    // never leaves the record describing a document the disk does not hold.
    virtual QCoro::Task<bool> saved() = 0;
    // The same, blocking, for the few steps that must finish before they return.
    virtual bool flush() = 0;

    // Sends one user-facing line to whoever shows errors.
    virtual void reportError(const QString& line) = 0;

    virtual const Clock& clock() const = 0;

    // The contacts for which a reply is being produced; observers hear of every change.
    virtual bool isTyping(const QString& botId) const = 0;
    virtual void setTyping(const QString& botId, bool typing) = 0;

protected:
    ~DocumentAccess() = default;
};

} // namespace quillo
