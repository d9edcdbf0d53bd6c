// Image work as the instance asks for it: through the worker process, with the answers
// and failures it must turn into clear errors.
#include "media/media_error.h"
#include "media/worker_image_encoder.h"
#include "support/coro_wait.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

QByteArray encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

// Noise does not compress, so a size limit really has to lower quality and size.
QImage noisyImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    quint32 seed = 12345;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            image.setPixel(x, y, seed | 0xff000000u);
        }
    }
    return image;
}

class ImageWorker : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes)
    {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return file.fileName();
    }

    MediaError::Kind failureOf(ImageEncodeRequest request)
    {
        try {
            waitForTask(encoder.encode(std::move(request)));
        } catch (const MediaError& error) {
            return error.kind();
        }
        ADD_FAILURE() << "encoded " << request.input.toStdString();
        return MediaError::Kind::workerFailed;
    }

    QTemporaryDir dir;
    WorkerImageEncoder encoder{QStringLiteral(QUILLO_MEDIA_BINARY)};
};

} // namespace

TEST_F(ImageWorker, ReencodesAndShrinksUntilTheImageFits)
{
    QImage transparent(40, 30, QImage::Format_ARGB32);
    transparent.fill(Qt::transparent);
    const QString source = write(QStringLiteral("clear.png"), encoded(transparent, "PNG"));
    const QImage asJpeg = QImage::fromData(waitForTask(encoder.encode({source, ImageFormat::jpeg, std::nullopt})), "JPEG");
    ASSERT_EQ(asJpeg.size(), transparent.size());
    // JPEG has no alpha: transparency turns white, not black.
    EXPECT_GT(qGray(asJpeg.pixel(20, 15)), 240);

    const QString noisy = write(QStringLiteral("noisy.png"), encoded(noisyImage(600, 400), "PNG"));
    const qint64 limit = 60000;
    const QByteArray small = waitForTask(encoder.encode({noisy, ImageFormat::jpeg, limit}));
    EXPECT_LE(small.size(), limit);
    const QImage fitted = QImage::fromData(small, "JPEG");
    ASSERT_FALSE(fitted.isNull());
    EXPECT_LT(fitted.width(), 600);
    EXPECT_EQ(fitted.width() * 2, fitted.height() * 3) << "aspect ratio kept";

    const QByteArray png = waitForTask(encoder.encode({noisy, ImageFormat::png, std::nullopt}));
    EXPECT_EQ(QImage::fromData(png, "PNG").size(), QSize(600, 400));
    EXPECT_EQ(failureOf({noisy, ImageFormat::png, 100}), MediaError::Kind::tooLarge);
}

TEST_F(ImageWorker, RefusesBrokenInputAndReportsAMissingWorker)
{
    const QByteArray jpeg = encoded(noisyImage(64, 64), "JPEG");
    EXPECT_EQ(failureOf({write(QStringLiteral("cut.jpg"), jpeg.left(jpeg.size() - 40)), ImageFormat::png, {}}),
              MediaError::Kind::unreadableInput);
    EXPECT_EQ(failureOf({write(QStringLiteral("text.png"), "not an image at all"), ImageFormat::png, {}}),
              MediaError::Kind::unreadableInput);
    EXPECT_EQ(failureOf({dir.filePath(QStringLiteral("absent.png")), ImageFormat::png, {}}),
              MediaError::Kind::unreadableInput);

    WorkerImageEncoder missing(dir.filePath(QStringLiteral("no-worker")));
    try {
        waitForTask(missing.encode({dir.filePath(QStringLiteral("absent.png")), ImageFormat::png, {}}));
        ADD_FAILURE() << "a missing worker encoded an image";
    } catch (const MediaError& error) {
        EXPECT_EQ(error.kind(), MediaError::Kind::workerFailed);
        EXPECT_TRUE(error.message().contains(QStringLiteral("no-worker"))) << error.message().toStdString();
    }
}

TEST_F(ImageWorker, CommandLineAnswersInJsonWithItsExitStatus)
{
    auto run = [](const QStringList& arguments) {
        QProcess worker;
        worker.start(QStringLiteral(QUILLO_MEDIA_BINARY), arguments);
        worker.waitForFinished(10000);
        return std::pair{worker.exitCode(), QByteArray(worker.readAllStandardOutput() + worker.readAllStandardError())};
    };
    const QString source = write(QStringLiteral("a.png"), encoded(noisyImage(20, 10), "PNG"));
    const QString output = dir.filePath(QStringLiteral("a.jpg"));

    const auto [done, answer] = run({QStringLiteral("image"), source, output, QStringLiteral("--format"), QStringLiteral("jpeg")});
    EXPECT_EQ(done, 0) << answer.toStdString();
    EXPECT_TRUE(answer.contains("\"width\":20")) << answer.toStdString();
    EXPECT_EQ(QImage(output).size(), QSize(20, 10));

    const auto [failed, refusal] = run({QStringLiteral("image"), output + QStringLiteral(".missing"), output,
                                        QStringLiteral("--format"), QStringLiteral("png")});
    EXPECT_EQ(failed, 1);
    EXPECT_TRUE(refusal.contains("\"error\":\"unreadable\"")) << refusal.toStdString();
    EXPECT_EQ(QImage(output).size(), QSize(20, 10)) << "a failed job leaves the output alone";

    EXPECT_EQ(run({QStringLiteral("image"), source, output, QStringLiteral("--format"), QStringLiteral("gif")}).first, 2);
    EXPECT_EQ(run({QStringLiteral("resize")}).first, 2);
    const auto [help, text] = run({QStringLiteral("image"), QStringLiteral("--help")});
    EXPECT_EQ(help, 0);
    EXPECT_TRUE(text.startsWith("Usage: quillo-media image")) << text.toStdString();
}

TEST_F(ImageWorker, RedactionsBlackOutTheirFractionOfTheUprightImage)
{
    QImage white(100, 50, QImage::Format_RGB32);
    white.fill(Qt::white);
    const QString source = write(QStringLiteral("white.png"), encoded(white, "PNG"));
    ImageEncodeRequest request{source, ImageFormat::png, std::nullopt};
    request.redactions = {RedactionRect{0.5, 0.0, 0.5, 0.5}, RedactionRect{0.0, 0.9, 0.1, 0.1}};
    const QImage redacted = QImage::fromData(waitForTask(encoder.encode(request)), "PNG");
    ASSERT_EQ(redacted.size(), white.size());
    EXPECT_EQ(qGray(redacted.pixel(75, 10)), 0);
    EXPECT_EQ(qGray(redacted.pixel(99, 0)), 0);
    EXPECT_EQ(qGray(redacted.pixel(5, 48)), 0);
    EXPECT_EQ(qGray(redacted.pixel(25, 40)), 255);
    EXPECT_EQ(qGray(redacted.pixel(49, 30)), 255);

    request.redactions = {RedactionRect{0.5, 0.5, 2.0, 0.1}};
    EXPECT_EQ(failureOf(request), MediaError::Kind::workerFailed) << "a rectangle outside the image is refused";
}

// A blurred rectangle keeps the picture's colours but not its detail: a one-pixel
// checkerboard (the finest detail there is, like small print) becomes flat grey.
TEST_F(ImageWorker, BlurredRedactionsLeaveNoDetailAndTouchNothingElse)
{
    QImage checker(120, 80, QImage::Format_RGB32);
    for (int y = 0; y < checker.height(); ++y) {
        for (int x = 0; x < checker.width(); ++x)
            checker.setPixel(x, y, (x + y) % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    }
    const QString source = write(QStringLiteral("checker.png"), encoded(checker, "PNG"));
    ImageEncodeRequest request{source, ImageFormat::png, std::nullopt};
    request.redactions = {RedactionRect{0.0, 0.0, 0.5, 0.5, true}};
    const QImage redacted = QImage::fromData(waitForTask(encoder.encode(request)), "PNG");
    ASSERT_EQ(redacted.size(), checker.size());
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 60; ++x)
            ASSERT_NEAR(qGray(redacted.pixel(x, y)), 128, 24) << "at " << x << "," << y;
    }
    EXPECT_EQ(redacted.pixel(60, 0), checker.pixel(60, 0));
    EXPECT_EQ(redacted.pixel(61, 40), checker.pixel(61, 40));
    EXPECT_EQ(redacted.pixel(0, 40), checker.pixel(0, 40));
}
