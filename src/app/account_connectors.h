#pragma once

class BlueSkyAccountConnector;
class MastodonAccountConnector;
class XAccountConnector;

// The instance's connect flows, shared by the settings window and the account commands,
// so a browser sign-in started by either lands in the one flow that waits for it.
struct AccountConnectors {
    XAccountConnector& x;
    BlueSkyAccountConnector& bluesky;
    MastodonAccountConnector& mastodon;
};
