// The baseline for the MCP cold start: a process that links Qt Core only, reads one
// line and answers it. Whatever quillo --mcp-stdio costs beyond this is ours.
#include <QByteArray>
#include <QFile>
#include <QString>

#include <cstdio>

int main()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return 1;
    const QByteArray line = input.readLine().trimmed();
    const QString answer = QStringLiteral(R"({"jsonrpc":"2.0","id":0,"result":{"echo":%1}})").arg(line.size());
    std::fputs(answer.toUtf8().append('\n').constData(), stdout);
    std::fflush(stdout);
    return 0;
}
