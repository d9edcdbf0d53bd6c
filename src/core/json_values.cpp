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

Json parse(const QByteArray& bytes)
{
    try {
        return Json::parse(bytes.constBegin(), bytes.constEnd());
    } catch (const nlohmann::json::exception& error) {
        throw CodingError(CodingError::Kind::malformedJson, {}, QString::fromUtf8(error.what()));
    }
}

} // namespace JsonValues
