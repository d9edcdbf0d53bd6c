#include "store/encoded_post_cache.h"

#include "core/json_writer.h"

namespace {

EncodedPostCache::Slot slotFor(const ScheduledPost& post)
{
    return std::make_shared<EncodedPostCache::Entry>(EncodedPostCache::Entry{post, {}});
}

} // namespace

void EncodedPostCache::reset(const QList<ScheduledPost>& posts)
{
    m_slots.clear();
    m_slots.reserve(posts.size());
    for (const ScheduledPost& post : posts)
        m_slots.append(slotFor(post));
}

void EncodedPostCache::append(const ScheduledPost& post)
{
    m_slots.append(slotFor(post));
}

void EncodedPostCache::replace(qsizetype index, const ScheduledPost& post)
{
    m_slots[index] = slotFor(post);
}

void EncodedPostCache::remove(qsizetype index)
{
    m_slots.removeAt(index);
}

void EncodedPostCache::fill(const QList<Slot>& slots)
{
    for (const Slot& slot : slots) {
        if (!slot->post)
            continue;
        JsonWriter writer(JsonLayout::compact);
        slot->post->write(writer);
        // A copy of exactly the text's size: the writer's buffer has room to spare,
        // and a large schedule keeps thousands of these.
        const std::string_view encoded = writer.text();
        slot->text = QByteArray(encoded.data(), static_cast<qsizetype>(encoded.size()));
        slot->post.reset();
    }
}

bool EncodedPostCache::write(const QList<Slot>& slots, QIODevice& device)
{
    JsonWriter writer(device, JsonLayout::compact);
    writer.beginArray();
    for (const Slot& slot : slots)
        writer.encoded({slot->text.constData(), static_cast<size_t>(slot->text.size())});
    writer.endArray();
    return writer.finish();
}
