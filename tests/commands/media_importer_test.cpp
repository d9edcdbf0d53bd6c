// Media named by commands: local paths and file URLs are copied into the media folder,
// remote files are downloaded within bounds, cut-off images are refused.
#include "commands/media_importer.h"
#include "commands/url_scheme_error.h"
#include "media/worker_image_encoder.h"
#include "support/coro_wait.h"
#include "support/temp_home.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QNetworkAccessManager>

#include <httplib.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

QByteArray pngBytes()
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QString write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
    return path;
}

// A loopback server with one good image, one cut-off image and one that is too big.
class MediaServer {
public:
    MediaServer()
    {
        const std::string png = pngBytes().toStdString();
        m_server.Get("/ok", [png](const httplib::Request&, httplib::Response& res) { res.set_content(png, "image/png"); });
        m_server.Get("/cut", [png](const httplib::Request&, httplib::Response& res) {
            res.set_content(png.substr(0, png.size() / 2), "image/png");
        });
        m_server.Get("/big", [](const httplib::Request&, httplib::Response& res) {
            res.set_content(std::string(100000, 'x'), "image/png");
        });
        // One request per connection: the workers then stop at once instead of waiting out
        // keep-alive when the server goes away.
        m_server.set_keep_alive_max_count(1);
        m_port = m_server.bind_to_any_port("127.0.0.1");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        while (!m_server.is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ~MediaServer()
    {
        m_server.stop();
        m_thread.join();
    }
    QString url(const char* path) const { return QStringLiteral("http://127.0.0.1:%1").arg(m_port) + QString::fromLatin1(path); }

private:
    httplib::Server m_server;
    int m_port = 0;
    std::thread m_thread;
};

} // namespace

TEST(MediaImporter, ImportsLocalAndRemoteMediaAndRefusesWhatIsBroken)
{
    TempHome home;
    const QString mediaDir = home.paths().mediaDir();
    QNetworkAccessManager network;
    WorkerImageEncoder images(QStringLiteral(QUILLO_MEDIA_BINARY));
    MediaImporter importer(mediaDir, network, images, MediaImporter::Limits{50000, std::chrono::milliseconds(5000)});
    MediaServer server;

    const QByteArray png = pngBytes();
    const QString whole = write(home.path() + QStringLiteral("/whole.png"), png);
    const QString cut = write(home.path() + QStringLiteral("/cut.png"), png.left(png.size() - 20));
    const QString video = write(home.path() + QStringLiteral("/clip.mp4"), QByteArray("\0\0\0\x18" "ftypmp42", 12) + QByteArray(64, '\0'));

    const QList<PostMedia> imported = waitForTask(
        importer.importAll({whole, QUrl::fromLocalFile(whole).toString(), server.url("/ok"), video}));
    ASSERT_EQ(imported.size(), 4);
    for (const PostMedia& media : imported) {
        EXPECT_TRUE(media.localFile().startsWith(mediaDir)) << media.localFile().toStdString();
        EXPECT_TRUE(QFile::exists(media.localFile()));
    }
    EXPECT_TRUE(imported[0].isImage());
    EXPECT_TRUE(imported[3].isVideo());

    struct Case {
        QString reference;
        QString messageStart;
    };
    const Case failures[] = {
        {home.path() + QStringLiteral("/missing.png"), QStringLiteral("File not found: ")},
        {cut, QStringLiteral("Invalid parameter: image is incomplete or unreadable: ")},
        {server.url("/cut"), QStringLiteral("Invalid parameter: image is incomplete or unreadable: ")},
        {server.url("/big"), QStringLiteral("Could not download media from ")},
        {server.url("/absent"), QStringLiteral("Could not download media from ")},
    };
    for (const Case& c : failures) {
        const auto filesBefore = QDir(mediaDir).entryList(QDir::Files | QDir::Hidden).size();
        try {
            // The good image first: a failure removes what the call had already imported.
            waitForTask(importer.importAll({whole, c.reference}));
            ADD_FAILURE() << "imported " << c.reference.toStdString();
        } catch (const URLSchemeError& error) {
            EXPECT_TRUE(error.message().startsWith(c.messageStart)) << error.message().toStdString();
        }
        EXPECT_EQ(QDir(mediaDir).entryList(QDir::Files | QDir::Hidden).size(), filesBefore) << c.reference.toStdString();
    }

    // Without its worker an image cannot be converted; the error names the file.
    WorkerImageEncoder noWorker(home.path() + QStringLiteral("/no-such-worker"));
    MediaImporter stranded(mediaDir, network, noWorker);
    try {
        waitForTask(stranded.importAll({whole}));
        ADD_FAILURE() << "imported without a worker";
    } catch (const URLSchemeError& error) {
        EXPECT_EQ(error.message(), QStringLiteral("Could not convert the image: ") + whole);
    }
}
