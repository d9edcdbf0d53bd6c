#pragma once

#include "model/scheduled_post.h"

#include <QByteArray>
#include <QList>

#include <memory>

class QIODevice;

// The compact JSON text of every stored entry, kept beside the scheduler's list so
// that a background save encodes only the entries changed since the last save and
// joins the rest. Slot i belongs to post i of the list: every change to the list
// makes the same change here, and a post that changes gets a fresh, empty slot, so a
// slot never holds the text of an older version of its post.
//
// Slots are filled only by the one saver thread; the list's owner only creates and
// drops them (shared_ptr counts are atomic), so a slot's text needs no lock.
class EncodedPostCache {
public:
    using Slot = std::shared_ptr<QByteArray>;

    // count empty slots: a freshly loaded or replaced list.
    void reset(qsizetype count);
    void append();
    void replace(qsizetype index);
    void remove(qsizetype index);

    // Shares the slots: a save fills them for every later save to reuse.
    QList<Slot> snapshot() const { return m_slots; }

    // Saver thread: encodes the posts whose slots are empty. Throws CodingError when
    // one cannot be encoded; the slots filled before it keep their text.
    static void fill(const QList<ScheduledPost>& posts, const QList<Slot>& slots);
    // Saver thread, after fill(): the compact document of the list, streamed to the
    // device. False when writing failed.
    static bool write(const QList<Slot>& slots, QIODevice& device);

private:
    QList<Slot> m_slots;
};
