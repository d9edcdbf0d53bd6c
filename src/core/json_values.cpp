#include "core/json_values.h"

#include "core/coding_error.h"


namespace JsonValues {

std::string utf8(const QString& text)
{
    return text.toStdString();
}

std::string uuidText(const QUuid& id)
{
    const QByteArray text = id.toByteArray(QUuid::WithoutBraces).toUpper();
    return std::string(text.constData(), static_cast<size_t>(text.size()));
}

QByteArray dump(const Json& document, JsonLayout layout)
{
    std::string text;
    try {
        switch (layout) {
        case JsonLayout::compact:
            text = document.dump();
            break;
        case JsonLayout::pretty:
            text = document.dump(2);
            break;
        case JsonLayout::prettySortedKeys:
            // nlohmann::json keeps its objects in a sorted map.
            text = nlohmann::json::parse(document.dump()).dump(2);
            break;
        }
    } catch (const nlohmann::json::exception& error) {
        throw CodingError(CodingError::Kind::unencodable, {}, QString::fromUtf8(error.what()));
    }
    return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

bool nestsDeeperThan(std::string_view text, int maxDepth)
{
    int depth = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        switch (c) {
        case '"':
            inString = true;
            break;
        case '[':
        case '{':
            if (++depth > maxDepth)
                return true;
            break;
        case ']':
        case '}':
            if (depth > 0)
                --depth;
            break;
        default:
            break;
        }
    }
    return false;
}

Json parse(const QByteArray& bytes)
{
    if (nestsDeeperThan(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size()))))
        throw CodingError(CodingError::Kind::malformedJson, {},
                          QStringLiteral("nesting deeper than %1 levels").arg(kMaxNesting));
    try {
        return Json::parse(bytes.constBegin(), bytes.constEnd());
    } catch (const nlohmann::json::exception& error) {
        throw CodingError(CodingError::Kind::malformedJson, {}, QString::fromUtf8(error.what()));
    }
}

Json parseOrDiscard(std::string_view bytes)
{
    if (nestsDeeperThan(bytes))
        return Json(Json::value_t::discarded);
    return Json::parse(bytes.begin(), bytes.end(), nullptr, false);
}

} // namespace JsonValues
