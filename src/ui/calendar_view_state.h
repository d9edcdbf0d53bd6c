#pragma once

#include "model/post_status.h"

#include <QDate>
#include <QUuid>

#include <optional>

// What every calendar view draws the same way: the chosen day, today, the chosen post and
// the status filter. The window keeps one and hands it to its views.
struct CalendarViewState {
    QDate selectedDay;
    QDate today;
    QUuid selectedPost;
    std::optional<PostStatus> filter;
};
