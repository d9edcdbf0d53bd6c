#pragma once

#include "model/quote_context.h"
#include "model/recent_post.h"
#include "model/social_account.h"

#include <QDialog>

#include <qcoro/qcorotask.h>

#include <optional>

class Clock;
class PublishingService;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class RecentPostsCache;

// Picks the post a thread quotes: one of the accounts' recent posts, or a pasted link.
class QuotePicker : public QDialog {
    Q_OBJECT
public:
    QuotePicker(PublishingService& publishing, RecentPostsCache& cache, const Clock& clock,
                const QList<SocialAccount>& accounts, QWidget* parent = nullptr);

    std::optional<QuoteContext> quote() const;
    // Until every account's posts are listed (or their failure shown).
    bool isLoading() const { return m_loading; }
    QLineEdit* linkField() const { return m_link; }
    QListWidget* list() const { return m_list; }

Q_SIGNALS:
    // Every account's posts are listed (or its failure is shown).
    void loaded();

private:
    QCoro::Task<void> load(QList<SocialAccount> accounts);
    void addPosts(const SocialAccount& account, const QList<RecentPost>& posts);
    void updateOk();

    PublishingService& m_publishing;
    RecentPostsCache& m_cache;
    const Clock& m_clock;
    QLineEdit* m_link;
    QListWidget* m_list;
    QLabel* m_state;
    QPushButton* m_ok;
    bool m_loading = true;
};
