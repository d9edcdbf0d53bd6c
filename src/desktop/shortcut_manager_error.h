#pragma once

#include "core/quillo_error.h"
#include "desktop/shortcut_action.h"

#include <optional>

// Why a recorded shortcut was refused; message() is the sentence shown under the recorder.
class ShortcutManagerError : public QuilloError {
public:
    enum class Kind { missingCommandKey, duplicate, insufficientModifiers, unsupportedKey, reservedCombination };

    static ShortcutManagerError missingCommandKey();
    static ShortcutManagerError duplicate(ShortcutAction other);
    static ShortcutManagerError insufficientModifiers();
    static ShortcutManagerError unsupportedKey();
    static ShortcutManagerError reservedCombination();

    Kind kind() const { return m_kind; }
    // The action that already has the combination, for duplicate.
    std::optional<ShortcutAction> otherAction() const { return m_other; }

private:
    ShortcutManagerError(Kind kind, QString message, std::optional<ShortcutAction> other = std::nullopt);

    Kind m_kind;
    std::optional<ShortcutAction> m_other;
};
