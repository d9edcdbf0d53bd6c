#pragma once

#include "model/social_account.h"

#include <QList>

#include <optional>
#include <string>
#include <variant>

class MCPArguments;

// Finds the one account an accounts_* tool call means, by platform and id, name or
// nickname. Either the account, or the message that tells the assistant what to fix.
class MCPAccountLookup {
public:
    enum class Purpose { remove, edit, setDefault };
    using Result = std::variant<SocialAccount, std::string>;

    static Result find(const QList<SocialAccount>& accounts, const MCPArguments& args, Purpose purpose);
};
