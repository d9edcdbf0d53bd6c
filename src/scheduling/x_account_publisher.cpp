#include "scheduling/x_account_publisher.h"

XAccountPublisher::XAccountPublisher(std::unique_ptr<XService> service)
    : m_service(std::move(service))
{
}

std::optional<OAuthCredential> XAccountPublisher::credentialOf(const SocialAccount& account)
{
    OAuthCredential credential;
    credential.consumerKey = account.credential(CredentialKeys::apiKey);
    credential.consumerSecret = account.credential(CredentialKeys::apiSecret);
    credential.oauthToken = account.credential(CredentialKeys::accessToken);
    credential.oauthTokenSecret = account.credential(CredentialKeys::accessSecret);
    if (credential.consumerKey.isEmpty() || credential.consumerSecret.isEmpty() || credential.oauthToken.isEmpty()
        || credential.oauthTokenSecret.isEmpty())
        return std::nullopt;
    return credential;
}

QCoro::Task<void> XAccountPublisher::publish(ThreadJob job, Delivered delivered, Status status)
{
    m_service->resetCancellation();
    QString replyTo = job.previous ? job.previous->id : QString();
    for (int index = job.from; index < job.thread.size(); ++index) {
        const Post& post = job.thread[index];
        const QString quoteOf = post.quoteContext ? post.quoteContext->platformIds.value(QStringLiteral("x")) : QString();
        const QString community = post.communityContext ? post.communityContext->id : QString();
        const XService::StateCallback onState = [&status](const XPublishState& state) { status(state.statusText()); };
        QCoro::Task<XPostResult> posting =
            m_service->post(post.text, post.mediaItems, replyTo, quoteOf, community, job.shareWithFollowers, onState);
        const XPostResult result = co_await std::move(posting);
        delivered(DeliveredPost{index, result.id, result.url.toString()});
        replyTo = result.id;
    }
}
