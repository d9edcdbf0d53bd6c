// The settings window driven as a person would, offscreen: connecting accounts against
// the fake networks, backing up and restoring, installing into an editor's config,
// switching MCP, recording a shortcut.
#include "core/preference_keys.h"
#include "desktop/autostart_entry.h"
#include "desktop/shortcut_manager.h"
#include "mcp/editor_config_installer.h"
#include "mcp/mcp_server.h"
#include "mcp/mcp_tool_provider.h"
#include "support/sample_posts.h"
#include "ui/account_form.h"
#include "ui/account_row.h"
#include "ui/account_settings_page.h"
#include "ui/blue_sky_account_form.h"
#include "ui/data_settings_page.h"
#include "ui/general_settings_page.h"
#include "ui/mastodon_account_form.h"
#include "ui/mcp_settings_page.h"
#include "ui/settings_window.h"
#include "ui/shortcut_recorder.h"
#include "ui/shortcut_settings_page.h"
#include "ui/watermark_settings_page.h"
#include "connect_stack.h"
#include "scripted_prompts.h"
#include "../desktop/fake_shortcut_registrar.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

namespace {

constexpr auto kExecutable = "/opt/quillo/bin/quillo";

// One tool, so a call shows whether the server's gate is open.
class EchoTool : public MCPToolProvider {
public:
    const std::vector<MCPTool>& tools() const override
    {
        static const std::vector<MCPTool> list = {{"echo", "Echoes.", {{"type", "object"}}}};
        return list;
    }
    MCPToolResult callTool(const std::string&, const Json&) override { return {"{}", false}; }
    Json resourceContent(const std::string&) override { return Json::array(); }
};

class SettingsWindowTest : public ::testing::Test {
protected:
    SettingsWindowTest()
        : connect(stack)
        , shortcuts(stack.preferences, makeRegistrar())
        , installer(stack.preferences, QString::fromLatin1(kExecutable), userHome(), stack.clock)
        , autostart(stack.home.path() + QStringLiteral("/xdg-config"), QString::fromLatin1(kExecutable))
    {
        shortcuts.load();
        window = std::make_unique<SettingsWindow>(connect.services(stack), shortcuts, installer, autostart, prompts);
        window->show();
    }

    std::unique_ptr<ShortcutRegistrar> makeRegistrar()
    {
        auto fake = std::make_unique<FakeShortcutRegistrar>(registered);
        registrar = fake.get();
        return fake;
    }

    QString userHome() const { return stack.home.path() + QStringLiteral("/user"); }
    QString file(const QString& name) const { return stack.home.path() + u'/' + name; }

    // Where a person clicks a check box: its indicator, whatever the box's width.
    static void tick(QCheckBox* box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2)); }

    // Types into the form and presses Connect; true when the flow stored an account.
    bool connectWith(AccountForm* form)
    {
        QSignalSpy finished(form, &AccountForm::finished);
        QTest::mouseClick(form->connectButton(), Qt::LeftButton);
        if (finished.isEmpty() && !finished.wait(10000))
            return false;
        return finished.last().at(0).toBool();
    }

    UiStack stack;
    ConnectStack connect;
    FakeShortcutRegistrar::Record registered;
    FakeShortcutRegistrar* registrar = nullptr;
    ShortcutManager shortcuts;
    EditorConfigInstaller installer;
    AutostartEntry autostart;
    ScriptedPrompts prompts;
    std::unique_ptr<SettingsWindow> window;
};

} // namespace

TEST_F(SettingsWindowTest, EverySectionIsReachableByItsName)
{
    const std::pair<const char*, SettingsSection> names[] = {
        {"general", SettingsSection::general},     {"composer", SettingsSection::composer},
        {"watermark", SettingsSection::watermark}, {"social", SettingsSection::x},
        {"accounts", SettingsSection::x},          {"x", SettingsSection::x},
        {"BlueSky", SettingsSection::bluesky},     {"social-mastodon", SettingsSection::mastodon},
        {"shortcuts", SettingsSection::shortcuts}, {"data", SettingsSection::data},
        {"mcp server", SettingsSection::mcp},      {"mcp", SettingsSection::mcp},
        {"about", SettingsSection::about},         {"no-such-section", SettingsSection::general},
    };
    for (const auto& [name, section] : names) {
        window->showSection(QString::fromLatin1(name));
        EXPECT_EQ(window->currentSection(), section) << name;
        EXPECT_TRUE(window->page(section)->isVisible()) << name;
    }
}

TEST_F(SettingsWindowTest, BlueskyConnectsAgainstTheServerAndRefusesAMissingOrDuplicateHandle)
{
    auto* form = static_cast<BlueSkyAccountForm*>(window->accountPage(PlatformType::bluesky)->form());
    EXPECT_FALSE(connectWith(form));
    EXPECT_EQ(form->statusText(), QStringLiteral("Please enter your BlueSky handle and app password first"));

    const auto type = [form] {
        QTest::keyClicks(form->handleEdit(), QString::fromLatin1(FakeXrpcServer::kHandle));
        QTest::keyClicks(form->passwordEdit(), QString::fromLatin1(FakeXrpcServer::kAppPassword));
    };
    type();
    ASSERT_TRUE(connectWith(form)) << form->statusText().toStdString();
    ASSERT_EQ(stack.accounts.accounts(PlatformType::bluesky).size(), 1);
    EXPECT_EQ(stack.accounts.accounts().first().credential(CredentialKeys::handle), QString::fromLatin1(FakeXrpcServer::kHandle));
    EXPECT_TRUE(form->handleEdit()->text().isEmpty()) << "typed secrets are not kept after connecting";
    QTRY_COMPARE(window->accountPage(PlatformType::bluesky)->rows().size(), 1);

    type();
    EXPECT_FALSE(connectWith(form));
    EXPECT_EQ(form->statusText(), QStringLiteral("An account with this handle already exists"));
    EXPECT_EQ(stack.accounts.accounts().size(), 1);
}

TEST_F(SettingsWindowTest, MastodonConnectsThroughTheBrowserCallbackAndTheListEditsIt)
{
    auto* form = static_cast<MastodonAccountForm*>(window->accountPage(PlatformType::mastodon)->form());
    QTest::keyClicks(form->instanceEdit(), QStringLiteral("fake.example"));
    ASSERT_TRUE(connectWith(form)) << form->statusText().toStdString();
    ASSERT_EQ(connect.browser.opened.size(), 1);
    EXPECT_EQ(connect.browser.opened.first().path(), QStringLiteral("/oauth/authorize"));
    const QList<SocialAccount> stored = stack.accounts.accounts(PlatformType::mastodon);
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(stored.first().credential(CredentialKeys::accessToken), QString::fromLatin1(FakeMastodonServer::kAccessToken));
    EXPECT_THAT(form->statusText().toStdString(), ::testing::StartsWith("Connected @"));

    // The list: nickname, enabled, and remove only after saying yes.
    window->showSection(QStringLiteral("mastodon"));
    AccountSettingsPage* page = window->accountPage(PlatformType::mastodon);
    QTRY_COMPARE(page->rows().size(), 1);
    AccountRow* row = page->rows().first();
    QTest::keyClicks(row->nicknameEdit(), QStringLiteral("Work"));
    QTest::keyClick(row->nicknameEdit(), Qt::Key_Return);
    EXPECT_EQ(stack.accounts.accounts().first().nickname, QStringLiteral("Work"));
    QTRY_COMPARE(page->rows().size(), 1);
    tick(page->rows().first()->enabledBox());
    EXPECT_FALSE(stack.accounts.accounts().first().isEnabled);

    prompts.confirmAnswer = false;
    QTRY_COMPARE(page->rows().size(), 1);
    QTest::mouseClick(page->rows().first()->removeButton(), Qt::LeftButton);
    EXPECT_EQ(prompts.last().title, QStringLiteral("Remove Account"));
    EXPECT_EQ(stack.accounts.accounts().size(), 1);
    prompts.confirmAnswer = true;
    QTest::mouseClick(page->rows().first()->removeButton(), Qt::LeftButton);
    EXPECT_TRUE(stack.accounts.accounts().isEmpty());

    // The platform switch at the top is the globally enabled flag.
    QCheckBox* platformSwitch = page->platformSwitch();
    const bool before = stack.accounts.isEnabled(PlatformType::mastodon);
    tick(platformSwitch);
    EXPECT_EQ(stack.accounts.isEnabled(PlatformType::mastodon), !before);
}

TEST_F(SettingsWindowTest, WithoutAQuilloHandlerTheMastodonFormTakesThePastedCode)
{
    connect.schemes.registered = false;
    auto* form = static_cast<MastodonAccountForm*>(window->accountPage(PlatformType::mastodon)->form());
    window->showSection(QStringLiteral("mastodon"));
    QTest::keyClicks(form->instanceEdit(), QStringLiteral("fake.example"));
    QSignalSpy finished(form, &AccountForm::finished);
    QTest::mouseClick(form->connectButton(), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(!connect.shownCode.isEmpty(), 10000);
    ASSERT_TRUE(form->codeEdit()->isVisible());
    EXPECT_TRUE(finished.isEmpty()) << "waits for the code";

    form->codeEdit()->insert(connect.shownCode);
    QTest::keyClick(form->codeEdit(), Qt::Key_Return);
    ASSERT_TRUE(!finished.isEmpty() || finished.wait(10000));
    EXPECT_TRUE(finished.last().at(0).toBool()) << form->statusText().toStdString();
    EXPECT_EQ(stack.accounts.accounts(PlatformType::mastodon).size(), 1);
    EXPECT_FALSE(form->codeEdit()->isVisible());
}

TEST_F(SettingsWindowTest, BackupsRoundTripOntoASecondHomeAndImportsAskFirst)
{
    stack.addAccount(PlatformType::bluesky, QStringLiteral("ada.example.com"));
    stack.addAccount(PlatformType::x, QStringLiteral("ada"));
    ASSERT_TRUE(stack.scheduler.savePosts(samplePosts(3)));
    stack.scheduler.loadPosts();
    DataSettingsPage* data = window->dataPage();

    prompts.saveAnswer = file(QStringLiteral("posts.json"));
    QTest::mouseClick(data->button(QStringLiteral("Export Scheduled Posts…")), Qt::LeftButton);
    prompts.saveAnswer = file(QStringLiteral("accounts.json"));
    QTest::mouseClick(data->button(QStringLiteral("Export Accounts…")), Qt::LeftButton);
    EXPECT_EQ(prompts.proposedNames, (QStringList{QStringLiteral("quillo-scheduled-posts.json"), QStringLiteral("quillo-accounts-backup.json")}));
    EXPECT_EQ(prompts.last().title, QStringLiteral("Export Accounts"));
    EXPECT_THAT(prompts.last().text.toStdString(), ::testing::HasSubstr("clear text"));
    const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther
        | QFileDevice::WriteOther | QFileDevice::ExeOther;
    for (const QString& name : {QStringLiteral("posts.json"), QStringLiteral("accounts.json")}) {
        const QFileDevice::Permissions permissions = QFile(file(name)).permissions();
        EXPECT_TRUE(permissions.testFlags(QFileDevice::ReadOwner | QFileDevice::WriteOwner)) << name.toStdString();
        EXPECT_FALSE(permissions & others) << name.toStdString() << " is readable by others";
    }

    // A second installation: nothing to export yet, then both imports, each asked first.
    UiStack other;
    ScriptedPrompts otherPrompts;
    SettingsWindow second(other.services(), shortcuts, installer, autostart, otherPrompts);
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Export Scheduled Posts…")), Qt::LeftButton);
    EXPECT_EQ(otherPrompts.last().text, QStringLiteral("No scheduled posts to export."));
    ASSERT_TRUE(other.scheduler.savePosts(samplePosts(1, 1)));
    other.scheduler.loadPosts();

    otherPrompts.openAnswer = file(QStringLiteral("posts.json"));
    otherPrompts.confirmAnswer = false;
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Import Scheduled Posts…")), Qt::LeftButton);
    EXPECT_THAT(otherPrompts.last().text.toStdString(), ::testing::HasSubstr("Replace your 1 scheduled post with the 3"));
    EXPECT_EQ(other.scheduler.scheduledPosts().size(), 1) << "declined: nothing changes";
    otherPrompts.confirmAnswer = true;
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Import Scheduled Posts…")), Qt::LeftButton);
    EXPECT_EQ(other.scheduler.scheduledPosts(), stack.scheduler.scheduledPosts());

    otherPrompts.openAnswer = file(QStringLiteral("accounts.json"));
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Import Accounts…")), Qt::LeftButton);
    EXPECT_THAT(otherPrompts.last().text.toStdString(), ::testing::HasSubstr("@ada.example.com (BlueSky)"));
    EXPECT_EQ(other.accounts.accounts(), stack.accounts.accounts());
    EXPECT_EQ(other.accounts.enabledPlatforms(), stack.accounts.enabledPlatforms());

    // A damaged file is refused with the alert and loses nothing.
    QFile damaged(file(QStringLiteral("damaged.json")));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("[{\"id\": 1");
    damaged.close();
    otherPrompts.openAnswer = damaged.fileName();
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Import Scheduled Posts…")), Qt::LeftButton);
    QTest::mouseClick(second.dataPage()->button(QStringLiteral("Import Accounts…")), Qt::LeftButton);
    EXPECT_EQ(otherPrompts.last().title, QStringLiteral("Import Failed"));
    EXPECT_EQ(otherPrompts.shown.at(otherPrompts.shown.size() - 2).title, QStringLiteral("Import Failed"));
    EXPECT_EQ(other.scheduler.scheduledPosts().size(), 3);
    EXPECT_EQ(other.accounts.accounts().size(), 2);
}

TEST_F(SettingsWindowTest, InstallingIntoZedMergesAfterABackupAndTheMcpSwitchReachesTheServer)
{
    const QString zed = userHome() + QStringLiteral("/.config/zed/settings.json");
    ASSERT_TRUE(QDir().mkpath(QFileInfo(zed).absolutePath()));
    QFile settings(zed);
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("// my settings\n{\n  \"theme\": \"One Dark\" /* keep */\n}\n");
    settings.close();

    window->showSection(QStringLiteral("mcp"));
    McpSettingsPage* mcp = window->mcpPage();
    QTest::mouseClick(mcp->installButton(QStringLiteral("zed")), Qt::LeftButton);
    EXPECT_EQ(prompts.last().title, QStringLiteral("Zed MCP Config"));
    EXPECT_THAT(prompts.last().text.toStdString(), ::testing::StartsWith(QString(QStringLiteral("Updated existing config at ") + zed).toStdString()));
    const QStringList backups = QDir(QFileInfo(zed).absolutePath()).entryList({QStringLiteral("settings.json.quillo-*.bak")});
    ASSERT_EQ(backups.size(), 1);
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    const Json merged = Json::parse(settings.readAll().toStdString());
    EXPECT_EQ(merged["theme"], "One Dark");
    EXPECT_EQ(merged["context_servers"]["quillo"]["command"], kExecutable);

    // A file the editor does not read is refused with the alert that offers the snippet.
    prompts.openAnswer = userHome() + QStringLiteral("/Documents/settings.json");
    mcp->editorBox()->setCurrentIndex(mcp->editorBox()->findText(QStringLiteral("Zed")));
    QTest::mouseClick(mcp->chooseFileButton(), Qt::LeftButton);
    EXPECT_EQ(prompts.last().title, QStringLiteral("Unsupported Location"));
    EXPECT_THAT(prompts.last().text.toStdString(), ::testing::HasSubstr("Please save your MCP config inside:"));
    EXPECT_FALSE(QFileInfo::exists(prompts.openAnswer));

    // The MCP process has its own store on the same files and reads the switch per call.
    PreferenceStore mcpProcessStore(stack.paths);
    EchoTool tools;
    MCPServer server(mcpProcessStore, tools);
    const std::string call = R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"echo","arguments":{}}})";
    const auto answer = [&server, &call] { return Json::parse(server.handle(call)->bytes); };
    ASSERT_FALSE(mcp->enabledBox()->isChecked());
    EXPECT_TRUE(answer().contains("error"));
    tick(mcp->enabledBox());
    EXPECT_TRUE(answer().contains("result")) << answer().dump();
    tick(mcp->enabledBox());
    EXPECT_TRUE(answer().contains("error"));
    EXPECT_THAT(mcp->snippetView()->toPlainText().toStdString(), ::testing::HasSubstr("--mcp-stdio"));
}

TEST_F(SettingsWindowTest, ARecordedShortcutTakesEffectAtOnceAndSurvivesARestart)
{
    ShortcutSettingsPage* page = window->shortcutsPage();
    ShortcutRecorder* recorder = page->recorder(ShortcutAction::composer);
    QTest::mouseClick(recorder->findChild<QPushButton*>(), Qt::LeftButton);
    QTest::keyClick(recorder, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier);
    const KeyboardShortcut chosen = shortcuts.shortcut(ShortcutAction::composer);
    EXPECT_EQ(chosen.keyEquivalent, QStringLiteral("k"));
    EXPECT_EQ(registered.registered.last().value(ShortcutAction::composer), chosen) << "registered at once";

    PreferenceStore restarted(stack.paths);
    ShortcutManager again(restarted, nullptr);
    again.load();
    EXPECT_EQ(again.shortcut(ShortcutAction::composer), chosen);

    // What the system refused shows under the recorders until the keys register again.
    window->showSection(QStringLiteral("shortcuts"));
    const QString taken = QStringLiteral("Ctrl+Super+S is already taken by another program.");
    registrar->refuse(taken);
    EXPECT_TRUE(page->problemLabel()->isVisible());
    EXPECT_EQ(page->problemLabel()->text(), taken);

    QTest::mouseClick(page->resetButton(), Qt::LeftButton);
    EXPECT_FALSE(page->problemLabel()->isVisible());
    EXPECT_EQ(shortcuts.shortcut(ShortcutAction::composer), KeyboardShortcut::defaultFor(ShortcutAction::composer));
}

TEST_F(SettingsWindowTest, StartAtLoginFollowsTheBoxAndAFreshWatermarkSizeShowsOneButStoresHalf)
{
    window->showSection(QStringLiteral("general"));
    auto* general = static_cast<GeneralSettingsPage*>(window->page(SettingsSection::general));
    tick(general->startAtLoginBox());
    EXPECT_TRUE(QFileInfo::exists(autostart.filePath()));
    tick(general->startAtLoginBox());
    EXPECT_FALSE(QFileInfo::exists(autostart.filePath()));

    // A config folder that cannot be made: the alert says why and the box stays off.
    QFile blocker(file(QStringLiteral("not-a-folder")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    AutostartEntry blocked(blocker.fileName(), QString::fromLatin1(kExecutable));
    GeneralSettingsPage page(stack.preferences, blocked, prompts);
    page.show();
    tick(page.startAtLoginBox());
    EXPECT_EQ(prompts.last().title, QStringLiteral("Start at Login"));
    EXPECT_FALSE(page.startAtLoginBox()->isChecked());

    stack.preferences.remove(PreferenceKeys::WatermarkSizeMultiplier);
    WatermarkSettingsPage watermark(stack.preferences, prompts);
    EXPECT_EQ(watermark.sizeBox()->value(), 1.0);
    EXPECT_EQ(stack.preferences.doubleValue(PreferenceKeys::WatermarkSizeMultiplier), 0.5);
}
