#include "core/file_url.h"

FileUrl::FileUrl(const QUrl& url)
    : m_text(url.isEmpty() ? QString() : url.toString(QUrl::FullyEncoded))
{
}

FileUrl FileUrl::fromText(QString text)
{
    FileUrl url;
    url.m_text = std::move(text);
    return url;
}
