// Lower layers never include higher ones. The linker catches upward calls; this test
// catches upward includes of headers that need no linking.
#include "layers/layer_rules.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

LayerRules loadRules(const QString& tablePath)
{
    QString error;
    const std::optional<LayerRules> rules = LayerRules::load(tablePath, &error);
    if (!rules)
        throw std::runtime_error(error.toStdString());
    return *rules;
}

void writeFile(const QString& path, const QByteArray& text)
{
    QDir().mkpath(path.section(u'/', 0, -2));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

} // namespace

TEST(Layers, EveryIncludeInTheSourcesIsAllowedByTheTable)
{
    const QString sources = QStringLiteral(QUILLO_SOURCE_DIR);
    const QStringList violations = loadRules(sources + QStringLiteral("/layers.txt")).violations(sources);
    EXPECT_TRUE(violations.isEmpty()) << violations.join(u'\n').toStdString();
}

// The check itself: a copy of the real table over a small tree with one file of each kind.
TEST(Layers, UpwardSidewaysAndUnknownIncludesAreReported)
{
    QTemporaryDir root;
    const QString src = root.filePath(QStringLiteral("src"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(QUILLO_SOURCE_DIR "/layers.txt"), root.filePath(QStringLiteral("layers.txt"))));
    writeFile(src + QStringLiteral("/core/fine.h"), "#include \"core/json.h\"\n#include <QString>\n");
    writeFile(src + QStringLiteral("/platforms/x/fine.cpp"), "#include \"platforms/oauth/oauth_signer.h\"\n");
    writeFile(src + QStringLiteral("/core/upward.cpp"), "// a comment\n#include \"commands/url_scheme_handler.h\"\n");
    writeFile(src + QStringLiteral("/channel/sideways.h"), "  #  include \"store/account_manager.h\"\n");
    writeFile(src + QStringLiteral("/media/worker/gui.cpp"), "#include \"app/run_modes.h\"\n");
    writeFile(src + QStringLiteral("/mcp/odd.cpp"), "#include \"support/temp_home.h\"\n");
    writeFile(src + QStringLiteral("/stray/file.cpp"), "\n");

    const QStringList violations = loadRules(root.filePath(QStringLiteral("layers.txt"))).violations(src);
    EXPECT_EQ(violations,
              (QStringList{
                  QStringLiteral("channel/sideways.h:1: includes store/account_manager.h (channel may not use store)"),
                  QStringLiteral("core/upward.cpp:2: includes commands/url_scheme_handler.h (core may not use commands)"),
                  QStringLiteral("mcp/odd.cpp:1: includes support/temp_home.h (mcp may not use a folder outside the table)"),
                  QStringLiteral("media/worker/gui.cpp:1: includes app/run_modes.h (media/worker may not use app)"),
                  QStringLiteral("stray/file.cpp: in no layer of the table"),
              }));
}

TEST(Layers, AMalformedTableIsAClearError)
{
    QTemporaryDir root;
    writeFile(root.filePath(QStringLiteral("layers.txt")), "core:\nmodel core\n");
    QString error;
    EXPECT_FALSE(LayerRules::load(root.filePath(QStringLiteral("layers.txt")), &error));
    EXPECT_TRUE(error.endsWith(QStringLiteral("layers.txt:2: expected \"layer: lower layers\""))) << error.toStdString();
}
