#pragma once

#include "media/media_prober.h"
#include "model/post.h"
#include "scheduling/media_validation.h"

#include <QList>

#include <qcoro/qcorotask.h>

// Checks a thread's media before it is published: every file still there, every video
// readable (probed in the media worker, so a corrupt file cannot harm the instance).
class MediaValidator {
public:
    explicit MediaValidator(MediaProber& prober);

    QCoro::Task<MediaValidation> validate(QList<Post> thread);

private:
    MediaProber& m_prober;
};
