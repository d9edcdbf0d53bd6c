#pragma once

// Doubles for the publishing path: publishers that record what they were asked and can
// fail at a given post or hold until released, and a prober that accepts every video.
#include "media/image_encoder.h"
#include "media/media_prober.h"
#include "media/video_exporter.h"
#include "scheduling/account_publisher_factory.h"
#include "scheduling/publish_error.h"

#include <QMap>
#include <QTimer>

#include <qcoro/qcorosignal.h>
#include <qcoro/qcorotimer.h>

#include <functional>
#include <map>
#include <memory>

class FakePublisher : public AccountPublisher {
public:
    explicit FakePublisher(QString name)
        : m_name(std::move(name))
    {
    }

    QCoro::Task<void> publish(ThreadJob job, Delivered delivered, Status status) override
    {
        jobs.append(job);
        for (int index = job.from; index < job.thread.size(); ++index) {
            if (holdBeforePost) {
                QTimer wait;
                wait.start(5);
                co_await qCoro(&wait, &QTimer::timeout);
                if (m_cancelled)
                    throw PublishError::cancelled();
            }
            if (onPost)
                onPost(index);
            if (index == failAt)
                throw PublishError::publishFailed(QStringLiteral("boom"));
            status(QStringLiteral("posting %1").arg(index));
            const QString id = QStringLiteral("%1-%2").arg(m_name).arg(index);
            delivered(DeliveredPost{index, id, QStringLiteral("https://example.net/") + id});
        }
    }
    void cancel() override { m_cancelled = true; }
    QCoro::Task<QList<RecentPost>> recentPosts() override
    {
        ++recentFetches;
        co_return recent;
    }

    QList<ThreadJob> jobs;
    QList<RecentPost> recent;
    int recentFetches = 0;
    int failAt = -1;
    bool holdBeforePost = false;
    std::function<void(int)> onPost;

private:
    QString m_name;
    bool m_cancelled = false;
};

class FakePublisherFactory : public AccountPublisherFactory {
public:
    FakePublisher& add(const QUuid& accountId, const QString& name)
    {
        auto& slot = publishers[accountId];
        slot = std::make_unique<FakePublisher>(name);
        return *slot;
    }
    AccountPublisher* publisherFor(const SocialAccount& account) override
    {
        const auto found = publishers.find(account.id);
        return found == publishers.end() ? nullptr : found->second.get();
    }
    void clear() override { ++clears; }

    std::map<QUuid, std::unique_ptr<FakePublisher>> publishers;
    int clears = 0;
};

class AcceptingProber : public MediaProber {
public:
    QCoro::Task<std::optional<MediaFacts>> probe(QString) override { co_return MediaFacts{2.0, true, true}; }
};

class UnusedImageEncoder : public ImageEncoder {
public:
    QCoro::Task<QByteArray> encode(ImageEncodeRequest) override { co_return QByteArray("png"); }
};

class UnusedExporter : public VideoExporter {
public:
    QCoro::Task<QString> exportVideo(VideoExportRequest request, Progress) override { co_return request.output; }
    void cancel() override {}
};
