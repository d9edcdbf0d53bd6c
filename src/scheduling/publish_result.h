#pragma once

#include "model/platform_type.h"

#include <QString>
#include <QUuid>

// How publishing to one account ended: the head post's web link, or the error text.
struct PublishResult {
    PlatformType platform = PlatformType::x;
    QUuid accountId;
    QString accountName;
    bool success = false;
    QString url;
    QString error;

    static PublishResult succeeded(PlatformType platform, QUuid accountId, QString accountName, QString url)
    {
        return {platform, accountId, std::move(accountName), true, std::move(url), {}};
    }
    static PublishResult failed(PlatformType platform, QUuid accountId, QString accountName, QString error)
    {
        return {platform, accountId, std::move(accountName), false, {}, std::move(error)};
    }
};
