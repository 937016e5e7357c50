#pragma once

#include <QHash>
#include <QString>

#include <optional>

class QSettings;

// The values of a settings file as a person typed them after "=", for the
// values the settings store's own reader would change: an INI reader takes
// ";" as the start of a comment, "," as a list separator and a single
// backslash as an escape, so "ErrorPass=se;cr=et" would read as "se" and
// "a@x.org,b@y.org" as a list. Values as the store writes them (quoted when
// they hold such characters, backslashes doubled) are left to the store.
//
// Reads the file once, when made; a store kept elsewhere than in an INI
// file (the Windows registry) gives nothing.
class TypedIniValues {
public:
    explicit TypedIniValues(const QSettings& store);

    // The text typed for `key` ("Section/Name") when the store's reader
    // would read it otherwise; nothing when the store reads it right.
    std::optional<QString> handTyped(const QString& key) const;

    // Whether the store's reader changes `typed` (a value as it stands in
    // the file after "=", without the blanks around it).
    static bool readerWouldChange(const QString& typed);

private:
    QHash<QString, QString> typed_;
};
