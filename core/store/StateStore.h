// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "model/StoredState.h"

#include <QFuture>
#include <QString>

#include <functional>
#include <memory>

namespace quillo {

// Keeps the user's document in one JSON file. `load` reads it once at start; every `save`
// afterwards is encoded and written atomically by one writer thread, in the order requested,
// so the caller never waits for the disk or for an encode of the whole document.
//
// A file that cannot be used is never overwritten: `load` moves it aside as
// "state-before-sync-<milliseconds>.json" beside it and starts from the fresh document. If even
// that move fails, the store keeps the file where it is and skips writing over it, trying the
// move again before each later write, so the user's only copy survives until it is out of the way.
class StateStore {
public:
    // `path` is the document's file, normally AppPaths::statePath(). Reads nothing.
    explicit StateStore(QString path);
    // `clock` names set-aside files; it must outlive the store.
    StateStore(QString path, const Clock& clock);
    // Waits until every save handed over is on disk, then stops the writer.
    ~StateStore();

    StateStore(const StateStore&) = delete;
    StateStore& operator=(const StateStore&) = delete;

    const QString& path() const;

    // The stored document, or the fresh one when there is none or it cannot be used. Reads on the
    // calling thread; call it once, before the first save.
    StoredState load();

    // Whether `load` found no document it could use (no file, one set aside, an earlier
    // release's format) and gave the fresh one: whatever was recorded about the old document,
    // such as how far it was synchronised, no longer describes this one.
    bool startedFresh() const;

    // Hands `state` to the writer and returns at once. Every save is one complete write.
    // `save` and `flush` belong to the thread that owns the store.
    void save(StoredState state);

    // Blocks until every save handed over so far has been written (or has failed and been
    // logged). True when the file on disk now holds the last of them, or a later one.
    bool flush();

    // Like `flush`, without blocking: the future finishes, with the same answer, once every save
    // handed over so far has been written. Await it on the thread that owns the store.
    QFuture<bool> written();

    // Called on the writer thread before each write; a write it answers false for is skipped,
    // as if the process had died before it. For tests of what a crash leaves behind; set it
    // before the first save.
    void setBeforeWrite(std::function<bool()> beforeWrite);

private:
    struct Writer;
    std::unique_ptr<SystemClock> m_ownClock;
    std::unique_ptr<Writer> m_writer;
};

} // namespace quillo
