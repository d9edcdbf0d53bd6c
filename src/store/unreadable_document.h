#pragma once

#include <QString>

class PreferenceStore;

// A stored document that could not be decoded is about to be replaced by a save: keep
// the old bytes beside it and say in the log where they are.
class UnreadableDocument {
public:
    // what names the document in the log line ("scheduled posts", "accounts").
    static void keep(PreferenceStore& store, const QString& key, const QString& what);
};
