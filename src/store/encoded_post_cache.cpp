#include "store/encoded_post_cache.h"

#include "core/json_writer.h"

namespace {

EncodedPostCache::Slot emptySlot()
{
    return std::make_shared<QByteArray>();
}

} // namespace

void EncodedPostCache::reset(qsizetype count)
{
    m_slots.clear();
    m_slots.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        m_slots.append(emptySlot());
}

void EncodedPostCache::append()
{
    m_slots.append(emptySlot());
}

void EncodedPostCache::replace(qsizetype index)
{
    m_slots[index] = emptySlot();
}

void EncodedPostCache::remove(qsizetype index)
{
    m_slots.removeAt(index);
}

void EncodedPostCache::fill(const QList<ScheduledPost>& posts, const QList<Slot>& slots)
{
    Q_ASSERT(posts.size() == slots.size());
    for (qsizetype i = 0; i < posts.size(); ++i) {
        QByteArray& text = *slots[i];
        if (!text.isEmpty())
            continue;
        JsonWriter writer(JsonLayout::compact);
        posts[i].write(writer);
        // A copy of exactly the text's size: the writer's buffer has room to spare,
        // and a large schedule keeps thousands of these.
        const std::string_view encoded = writer.text();
        text = QByteArray(encoded.data(), static_cast<qsizetype>(encoded.size()));
    }
}

bool EncodedPostCache::write(const QList<Slot>& slots, QIODevice& device)
{
    JsonWriter writer(device, JsonLayout::compact);
    writer.beginArray();
    for (const Slot& slot : slots)
        writer.encoded({slot->constData(), static_cast<size_t>(slot->size())});
    writer.endArray();
    return writer.finish();
}
