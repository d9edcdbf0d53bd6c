#include "core/preference_store.h"

#include "core/app_paths.h"
#include "core/preference_keys.h"

#include <QDir>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QScopeGuard>
#include <QSettings>
#include <QThreadPool>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr auto kPrivateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

// Creates the file user-only before anything is written into it, so no other user
// can read it even for a moment.
void createPrivateFile(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    if (fd >= 0)
        ::close(fd);
    QFile::setPermissions(path, kPrivateFile);
}

// Renaming over a large document frees the old file's pages inside the rename, which
// can take tens of milliseconds. A second name keeps the old file alive through the
// rename; it is then removed on a pool thread, off the caller's path. A name left by
// a crash is replaced by the next save.
QString keepAliveThroughRename(const QString& path)
{
    const QString replaced = path + QStringLiteral(".replaced");
    const QByteArray target = QFile::encodeName(replaced);
    ::unlink(target.constData());
    if (::link(QFile::encodeName(path).constData(), target.constData()) != 0)
        return {};
    return replaced;
}

void removeLater(const QString& path)
{
    if (!path.isEmpty())
        QThreadPool::globalInstance()->start([path] { QFile::remove(path); });
}

bool isSafeDataKey(const QString& key)
{
    static const QRegularExpression safe(QStringLiteral("^[A-Za-z0-9][A-Za-z0-9._-]*$"));
    return safe.match(key).hasMatch();
}

} // namespace

PreferenceStore::PreferenceStore(const AppPaths& paths)
    : m_configDir(paths.configDir())
{
    QDir().mkpath(m_configDir);
    createPrivateFile(paths.preferencesFile());
    m_settings = std::make_unique<QSettings>(paths.preferencesFile(), QSettings::IniFormat);
}

PreferenceStore::~PreferenceStore() = default;

std::optional<QVariant> PreferenceStore::value(QAnyStringView key) const
{
    if (!m_settings->contains(key))
        return std::nullopt;
    return m_settings->value(key);
}

std::optional<bool> PreferenceStore::strictBool(const QVariant& stored)
{
    if (stored.typeId() == QMetaType::Bool)
        return stored.toBool();
    // The INI holds text, and QVariant::toBool reads "no", "off" and "yes" alike as true:
    // only the two words QSettings writes count, anything else is no value.
    const QString text = stored.toString().trimmed();
    if (text == QLatin1String("true"))
        return true;
    if (text == QLatin1String("false"))
        return false;
    return std::nullopt;
}

std::optional<bool> PreferenceStore::boolValue(QAnyStringView key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    return strictBool(*stored);
}

std::optional<QString> PreferenceStore::stringValue(QAnyStringView key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    return stored->toString();
}

std::optional<double> PreferenceStore::doubleValue(QAnyStringView key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    bool ok = false;
    const double number = stored->toDouble(&ok);
    return ok ? std::optional<double>(number) : std::nullopt;
}

std::optional<qint64> PreferenceStore::intValue(QAnyStringView key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    bool ok = false;
    const qint64 number = stored->toLongLong(&ok);
    return ok ? std::optional<qint64>(number) : std::nullopt;
}

std::optional<QStringList> PreferenceStore::stringListValue(QAnyStringView key) const
{
    const auto stored = value(key);
    if (!stored)
        return std::nullopt;
    // INI stores an empty list as an empty value; a one-element list as plain text.
    if (stored->typeId() == QMetaType::QString) {
        const QString text = stored->toString();
        return text.isEmpty() ? QStringList() : QStringList{text};
    }
    return stored->toStringList();
}

bool PreferenceStore::contains(QAnyStringView key) const
{
    return m_settings->contains(key);
}

QVariant PreferenceStore::valueOrDefault(QAnyStringView key) const
{
    const PreferenceKey* known = PreferenceKeys::find(key.toString());
    if (auto stored = value(key)) {
        if (!known || known->type != PreferenceType::boolean)
            return *stored;
        if (const auto flag = strictBool(*stored))
            return *flag;
    }
    return known ? known->defaultValue : QVariant();
}

void PreferenceStore::setValue(QAnyStringView key, const QVariant& value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
}

void PreferenceStore::remove(QAnyStringView key)
{
    m_settings->remove(key);
    m_settings->sync();
}

QString PreferenceStore::dataPath(const QString& key) const
{
    return m_configDir + u'/' + key + QStringLiteral(".json");
}

std::optional<QByteArray> PreferenceStore::data(const QString& key) const
{
    if (!isSafeDataKey(key))
        return std::nullopt;
    QFile file(dataPath(key));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool PreferenceStore::readData(const QString& key, const std::function<void(const QByteArray&)>& read) const
{
    if (!isSafeDataKey(key))
        return false;
    const int fd = ::open(QFile::encodeName(dataPath(key)).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const auto closeFile = qScopeGuard([fd] { ::close(fd); });
    struct stat info = {};
    if (::fstat(fd, &info) != 0)
        return false;
    const auto size = static_cast<size_t>(info.st_size);
    void* mapped = size == 0 ? MAP_FAILED : ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
    if (mapped == MAP_FAILED) {
        // Empty, or not mappable: read it the ordinary way.
        const auto bytes = data(key);
        if (!bytes)
            return false;
        read(*bytes);
        return true;
    }
    const auto unmap = qScopeGuard([mapped, size] { ::munmap(mapped, size); });
    read(QByteArray::fromRawData(static_cast<const char*>(mapped), static_cast<qsizetype>(size)));
    return true;
}

bool PreferenceStore::setData(const QString& key, const QByteArray& bytes)
{
    return writeData(key, [&bytes](QIODevice& device) { return device.write(bytes) == bytes.size(); });
}

bool PreferenceStore::writeData(const QString& key, const std::function<bool(QIODevice&)>& write)
{
    if (!isSafeDataKey(key))
        return false;
    // QSaveFile writes a temporary file and renames it over the old one: a reader sees
    // the old document or the new one, never half of one, and a failed write leaves
    // the old one in place (an exception from write() discards the temporary file too).
    QSaveFile file(dataPath(key));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.setPermissions(kPrivateFile);
    if (!write(file)) {
        file.cancelWriting();
        return false;
    }
    const QString replaced = keepAliveThroughRename(file.fileName());
    const bool committed = file.commit();
    removeLater(replaced);
    return committed;
}

bool PreferenceStore::removeData(const QString& key)
{
    if (!isSafeDataKey(key))
        return false;
    QFile file(dataPath(key));
    return !file.exists() || file.remove();
}

QString PreferenceStore::keepUnreadableCopy(const QString& key)
{
    if (!isSafeDataKey(key))
        return {};
    const QString path = dataPath(key);
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    // The document's own time, not the clock's: a second attempt for the same document
    // finds its copy already there.
    const QString copy = path + QStringLiteral(".unreadable-")
        + info.lastModified().toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    if (QFileInfo::exists(copy))
        return copy;
    // A second name for the same file: the save that follows renames a new file over
    // the old name and leaves this one holding the old bytes, user-only as they were.
    if (::link(QFile::encodeName(path).constData(), QFile::encodeName(copy).constData()) == 0)
        return copy;
    if (!QFile::copy(path, copy))
        return {};
    QFile::setPermissions(copy, kPrivateFile);
    return copy;
}

void PreferenceStore::sync()
{
    m_settings->sync();
}

void PreferenceStore::clear()
{
    m_settings->clear();
    m_settings->sync();
    const QDir dir(m_configDir);
    const QStringList documents = dir.entryList({QStringLiteral("*.json")}, QDir::Files);
    for (const QString& name : documents)
        QFile::remove(dir.filePath(name));
}

QString PreferenceStore::fileName() const
{
    return m_settings->fileName();
}
