#pragma once

#include <QString>

// Progress of one X post, shown as a status line in the composer.
struct XPublishState {
    enum class Phase { uploadingMedia, processingMedia, settingAltText, posting, posted };

    Phase phase = Phase::posting;
    int mediaIndex = 0;  // 0-based item being uploaded
    int mediaCount = 0;
    double fraction = 0; // 0...1 within the phase (uploaded bytes while uploading)

    QString statusText() const;
    bool operator==(const XPublishState&) const = default;
};
