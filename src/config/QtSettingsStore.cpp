#include "config/QtSettingsStore.h"

#include <QSettings>
#include <QString>

namespace config {

namespace {

QString Latin1(const std::string& s) {
    return QString::fromLatin1(s.data(), static_cast<qsizetype>(s.size()));
}

// QSettings with the INI format picks ~/.config (or $XDG_CONFIG_HOME) itself.
QSettings Open(const std::string& application) {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, "Corvane", Latin1(application));
}

QString KeyOf(const std::string& section, const std::string& key) {
    return Latin1(section) + "/" + Latin1(key);
}

} // namespace

std::optional<std::string> QtSettingsStore::Get(const std::string& application,
                                                const std::string& section,
                                                const std::string& key) {
    QSettings settings = Open(application);
    QVariant value = settings.value(KeyOf(section, key));
    if (!value.isValid())
        return std::nullopt;
    return value.toString().toLatin1().toStdString();
}

void QtSettingsStore::Set(const std::string& application, const std::string& section,
                          const std::string& key, const std::string& value) {
    QSettings settings = Open(application);
    settings.setValue(KeyOf(section, key), Latin1(value));
}

void QtSettingsStore::Remove(const std::string& application, const std::string& section,
                             const std::string& key) {
    QSettings settings = Open(application);
    settings.remove(KeyOf(section, key));
}

} // namespace config
