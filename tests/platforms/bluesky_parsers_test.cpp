#include "platforms/bluesky/image_header.h"
#include "platforms/bluesky/link_metadata.h"

#include <QBuffer>
#include <QImage>

#include <gtest/gtest.h>

namespace {

QByteArray encoded(int width, int height, const char* format)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format));
    return bytes;
}

QByteArray be16(int v)
{
    return QByteArray(1, char(v >> 8)) + char(v & 0xFF);
}

// A JPEG header with an EXIF block (big-endian TIFF) naming an orientation, then a frame of w x h.
QByteArray jpegWithOrientation(int orientation, int width, int height)
{
    QByteArray tiff("MM\0\x2a\0\0\0\x08", 8);
    tiff += be16(1);                                       // one IFD entry
    tiff += be16(0x0112) + be16(3) + QByteArray("\0\0\0\x01", 4) + be16(orientation) + be16(0);
    tiff += QByteArray(4, '\0');
    const QByteArray exif = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray jpeg("\xFF\xD8", 2);
    jpeg += QByteArray("\xFF\xE1", 2) + be16(int(exif.size()) + 2) + exif;
    jpeg += QByteArray("\xFF\xC0", 2) + be16(17) + char(8) + be16(height) + be16(width) + QByteArray(12, '\1');
    return jpeg;
}

} // namespace

TEST(BlueSkyImageHeader, readsTypeAndDisplayedSize)
{
    struct Case {
        const char* name;
        QByteArray bytes;
        std::optional<ImageHeader> expected;
    };
    const QByteArray png = encoded(64, 48, "PNG");
    const Case cases[] = {
        {"png", png, ImageHeader{QStringLiteral("image/png"), 64, 48}},
        {"jpeg", encoded(30, 70, "JPEG"), ImageHeader{QStringLiteral("image/jpeg"), 30, 70}},
        {"jpeg turned a quarter", jpegWithOrientation(6, 40, 20), ImageHeader{QStringLiteral("image/jpeg"), 20, 40}},
        {"jpeg upside down", jpegWithOrientation(3, 40, 20), ImageHeader{QStringLiteral("image/jpeg"), 40, 20}},
        {"gif", QByteArray("GIF89a\x05\x00\x07\x00", 10), ImageHeader{QStringLiteral("image/gif"), 5, 7}},
        {"cut short png", png.left(20), std::nullopt},
        {"cut short jpeg", jpegWithOrientation(1, 40, 20).left(30), std::nullopt},
        {"zero width", QByteArray("GIF89a\x00\x00\x07\x00", 10), std::nullopt},
        {"not an image", QByteArray("<html>hello</html>"), std::nullopt},
        {"empty", QByteArray(), std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto header = ImageHeader::read(c.bytes);
        ASSERT_EQ(header.has_value(), c.expected.has_value());
        if (!header)
            continue;
        EXPECT_EQ(header->mimeType, c.expected->mimeType);
        EXPECT_EQ(header->width, c.expected->width);
        EXPECT_EQ(header->height, c.expected->height);
    }
    // Every prefix of a real file is either read right or refused, never misread.
    const QByteArray jpeg = encoded(33, 17, "JPEG");
    for (qsizetype n = 0; n < jpeg.size(); n += 7) {
        const auto header = ImageHeader::read(QByteArrayView(jpeg).first(n));
        if (header) {
            EXPECT_EQ(std::pair(header->width, header->height), std::pair(33, 17)) << n;
        }
    }
}

TEST(BlueSkyLinkMetadata, takesTheFirstNonEmptyValueInOrder)
{
    const QUrl page(QStringLiteral("https://news.example/articles/42/index.html"));
    struct Case {
        const char* name;
        QByteArray html;
        QString title;
        QString description;
        QString image;
    };
    const Case cases[] = {
        {"open graph wins",
         R"(<html><head><title>Plain</title><meta name="description" content="plain desc">
            <meta property="og:title" content="  OG   title "><meta property="og:description" content="OG desc">
            <meta name="twitter:image" content="https://cdn.example/t.png"><meta property="og:image" content="/img/og.jpg">
            </head><body><h1>Heading</h1></body></html>)",
         QStringLiteral("OG title"), QStringLiteral("OG desc"), QStringLiteral("https://news.example/img/og.jpg")},
        {"fallbacks",
         R"(<html><head><meta property="og:title" content=""><title>Plain</title>
            <meta name="description" content="plain desc"><meta name="twitter:image" content="thumb.png"></head></html>)",
         QStringLiteral("Plain"), QStringLiteral("plain desc"), QStringLiteral("https://news.example/articles/42/thumb.png")},
        {"malformed, heading only",
         "<body><div><h1>Broken <b>page</h1><p>unclosed <meta name=description content=\"in body\"><p>more",
         QStringLiteral("Broken page"), QStringLiteral("in body"), QString()},
        {"image with a scheme that cannot be fetched",
         R"html(<meta property="og:image" content="javascript:alert(1)"><title>t</title>)html", QStringLiteral("t"), QString(), QString()},
        {"not html at all", QByteArray("\x00\x01\x02 binary", 10), QString(), QString(), QString()},
        {"utf-8 without a declared charset", "<title>Café ☕</title>", QStringLiteral("Café ☕"), QString(), QString()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const LinkMetadata metadata = LinkMetadata::parse(c.html, page);
        EXPECT_EQ(metadata.title, c.title);
        EXPECT_EQ(metadata.description, c.description);
        EXPECT_EQ(metadata.image.toString(), c.image);
    }

    const QByteArray latin1 = QByteArray("<title>Caf") + char(0xE9) + "</title>";
    EXPECT_EQ(LinkMetadata::parse(latin1, page, "ISO-8859-1").title, QStringLiteral("Café"));
    EXPECT_EQ(LinkMetadata::parse(QByteArray("<title>x</title>"), page, "no-such-charset").title, QStringLiteral("x"));

    const QByteArray huge = "<title>" + QByteArray(100000, 'a') + "</title>";
    const LinkMetadata capped = LinkMetadata::parse(huge, page);
    EXPECT_EQ(capped.title.size(), LinkMetadata::kMaxTitleLength);
    EXPECT_TRUE(capped.title.endsWith(QStringLiteral("...")));
}
