#pragma once

#include "model/json_reader.h"

#include <QString>

// Communities exist only on X.
enum class CommunityPlatform { x };

// The X community a post goes to.
struct CommunityContext {
    QString id;
    QString name;
    CommunityPlatform platform = CommunityPlatform::x;

    bool operator==(const CommunityContext&) const = default;

    Json toJson() const;
    static CommunityContext decode(const JsonReader& reader);
};
