#pragma once

class ScreenshotSession;

// One function per area of the app; each builds its windows with sample content and saves them.
void addComposerShots(ScreenshotSession& session);
void addVideoEditorShots(ScreenshotSession& session);
void addSettingsShots(ScreenshotSession& session);
void addCalendarShots(ScreenshotSession& session);
