#pragma once

#include "core/json_reader.h"
#include "core/json_writer.h"

#include <QString>

// Communities exist only on X.
enum class CommunityPlatform { x };

// The X community a post goes to.
struct CommunityContext {
    QString id;
    QString name;
    CommunityPlatform platform = CommunityPlatform::x;

    bool operator==(const CommunityContext&) const = default;

    void write(JsonWriter& writer) const;
    Json toJson() const { return toJsonValue(*this); }
    static CommunityContext decode(const JsonReader& reader);
};
