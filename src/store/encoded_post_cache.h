#pragma once

#include "model/scheduled_post.h"

#include <QByteArray>
#include <QList>

#include <memory>
#include <optional>

class QIODevice;

// The compact JSON text of every stored entry, kept beside the scheduler's list so
// that a background save encodes only the entries changed since the last save and
// joins the rest. Slot i belongs to post i of the list: every change to the list
// makes the same change here, and a post that changes gets a fresh slot holding its
// new version, so a slot never holds the text of an older version of its post.
//
// The saver works from the slots alone: it never shares the scheduler's list, so a
// change made while a save is running copies a list of pointers, not every post.
// Slots are filled only by the one saver thread; the list's owner only creates and
// drops them (shared_ptr counts are atomic), so a slot's content needs no lock.
class EncodedPostCache {
public:
    struct Entry {
        // The post to encode; dropped once encoded, so only unsaved posts are kept twice.
        std::optional<ScheduledPost> post;
        QByteArray text;
    };
    using Slot = std::shared_ptr<Entry>;

    // A freshly loaded or replaced list.
    void reset(const QList<ScheduledPost>& posts);
    void append(const ScheduledPost& post);
    void replace(qsizetype index, const ScheduledPost& post);
    void remove(qsizetype index);

    // Shares the slots: a save fills them for every later save to reuse.
    QList<Slot> snapshot() const { return m_slots; }

    // Saver thread: encodes the posts of the slots not encoded yet. Throws CodingError
    // when one cannot be encoded; the slots filled before it keep their text.
    static void fill(const QList<Slot>& slots);
    // Saver thread, after fill(): the compact document of the list, streamed to the
    // device. False when writing failed.
    static bool write(const QList<Slot>& slots, QIODevice& device);

private:
    QList<Slot> m_slots;
};
