#include "platforms/bluesky/link_metadata.h"

#include <libxml/HTMLparser.h>
#include <libxml/xpath.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace {

struct DocumentFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
struct ContextFree {
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
struct ObjectFree {
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
struct XmlFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

QString simplified(const xmlChar* text)
{
    return text ? QString::fromUtf8(reinterpret_cast<const char*>(text)).simplified() : QString();
}

// The first node's attribute (or its text, when attribute is null), whitespace folded.
QString firstValue(xmlXPathContext* context, const char* xpath, const char* attribute)
{
    std::unique_ptr<xmlXPathObject, ObjectFree> found(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(xpath), context));
    if (!found || !found->nodesetval)
        return {};
    for (int i = 0; i < found->nodesetval->nodeNr; ++i) {
        xmlNode* node = found->nodesetval->nodeTab[i];
        std::unique_ptr<xmlChar, XmlFree> value(attribute ? xmlGetProp(node, reinterpret_cast<const xmlChar*>(attribute))
                                                          : xmlNodeGetContent(node));
        const QString text = simplified(value.get());
        if (!text.isEmpty())
            return text;
    }
    return {};
}

QString firstOf(xmlXPathContext* context, std::initializer_list<std::pair<const char*, const char*>> queries)
{
    for (const auto& [xpath, attribute] : queries) {
        const QString value = firstValue(context, xpath, attribute);
        if (!value.isEmpty())
            return value;
    }
    return {};
}

// Pages that name no charset are nearly always UTF-8 today; libxml2 would assume Latin-1.
const char* encodingFor(QByteArrayView html, const QByteArray& charset)
{
    if (!charset.isEmpty())
        return charset.constData();
    const QByteArrayView head = html.first(std::min<qsizetype>(html.size(), 4096));
    return QByteArray(head.data(), head.size()).toLower().contains("charset") ? nullptr : "UTF-8";
}

// A page can put anything in its tags; a card shows a line or two of them.
QString capped(QString text, qsizetype length)
{
    if (text.size() > length)
        text = text.first(length - 3) + QStringLiteral("...");
    return text;
}

} // namespace

LinkMetadata LinkMetadata::parse(QByteArrayView html, const QUrl& page, const QByteArray& charset)
{
    if (html.isEmpty())
        return {};
    constexpr int options = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET
        | HTML_PARSE_NOBLANKS;
    const QByteArray url = page.toEncoded();
    const int size = int(std::min<qsizetype>(html.size(), INT_MAX));
    std::unique_ptr<xmlDoc, DocumentFree> doc(
        htmlReadMemory(html.data(), size, url.constData(), encodingFor(html, charset), options));
    if (!doc && !charset.isEmpty()) // a charset libxml2 does not know: let it guess
        doc.reset(htmlReadMemory(html.data(), size, url.constData(), nullptr, options));
    if (!doc)
        return {};
    std::unique_ptr<xmlXPathContext, ContextFree> context(xmlXPathNewContext(doc.get()));
    if (!context)
        return {};

    LinkMetadata metadata;
    metadata.title = capped(firstOf(context.get(), {{"//meta[@property='og:title']", "content"},
                                                    {"//title", nullptr},
                                                    {"//h1", nullptr}}),
                            kMaxTitleLength);
    metadata.description = capped(firstOf(context.get(), {{"//meta[@property='og:description']", "content"},
                                                          {"//meta[@name='description']", "content"}}),
                                  kMaxDescriptionLength);
    const QString image = firstOf(context.get(), {{"//meta[@property='og:image']", "content"},
                                                 {"//meta[@name='twitter:image']", "content"}});
    if (!image.isEmpty()) {
        const QUrl resolved = page.resolved(QUrl(image));
        if (resolved.isValid() && (resolved.scheme() == QStringLiteral("http") || resolved.scheme() == QStringLiteral("https")))
            metadata.image = resolved;
    }
    return metadata;
}
