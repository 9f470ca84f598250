// SPDX-License-Identifier: MIT

#include "demo/corvina/DemoOptions.h"

#include <QCommandLineParser>

namespace
{
constexpr double millisecondsPerSecond = 1000;
constexpr double longestWaitSeconds = 86400;

const QStringList valueOptions{
    QStringLiteral("update-url"),
    QStringLiteral("product-version"),
    QStringLiteral("config-dir"),
    QStringLiteral("data-dir"),
    QStringLiteral("check"),
    QStringLiteral("pid"),
    QStringLiteral("version"),
    QStringLiteral("email"),
    QStringLiteral("on-version"),
    QStringLiteral("on-prompt"),
    QStringLiteral("on-hint"),
    QStringLiteral("close-at-bytes"),
    QStringLiteral("titlebar-close-at-bytes"),
    QStringLiteral("screenshots"),
    QStringLiteral("log"),
    QStringLiteral("timeout"),
    QStringLiteral("linger"),
    QStringLiteral("ca"),
    QStringLiteral("trust-key"),
    QStringLiteral("statistics-host"),
};

/// Reads single options; the first error is kept.
class OptionReader
{
public:
    explicit OptionReader(const QStringList &arguments)
    {
        for (const QString &name : valueOptions) {
            m_parser.addOption(QCommandLineOption(name, QString(), QStringLiteral("value")));
        }
        m_parser.addOption(QCommandLineOption(QStringLiteral("help")));
        m_parser.addOption(QCommandLineOption(QStringLiteral("gaps")));
        if (!m_parser.parse(arguments)) {
            m_error = m_parser.errorText();
        } else if (!m_parser.positionalArguments().isEmpty()) {
            m_error = QStringLiteral("unknown argument '%1'")
                          .arg(m_parser.positionalArguments().constFirst());
        }
    }

    bool IsSet(const char *name) const { return m_parser.isSet(QLatin1String(name)); }
    QString Error() const { return m_error; }

    void Read(const char *name, QString *text) const
    {
        if (IsSet(name)) {
            *text = m_parser.value(QLatin1String(name));
        }
    }

    void Read(const char *name, QStringList *texts) const
    {
        *texts = m_parser.values(QLatin1String(name));
    }

    /// @param words the option's values in the order of the enumeration
    template<typename Enum>
    void Read(const char *name, const QStringList &words, Enum *choice)
    {
        if (!IsSet(name)) {
            return;
        }
        const int index = words.indexOf(m_parser.value(QLatin1String(name)));
        if (index < 0) {
            Fail(name, words.join(QLatin1Char('|')));
        } else {
            *choice = static_cast<Enum>(index);
        }
    }

    void ReadBytes(const char *name, qint64 *bytes)
    {
        if (!IsSet(name)) {
            return;
        }
        bool ok = false;
        *bytes = m_parser.value(QLatin1String(name)).toLongLong(&ok);
        if (!ok || *bytes < 0) {
            Fail(name, QStringLiteral("a number of bytes"));
        }
    }

    void ReadSeconds(const char *name, int *milliseconds)
    {
        if (!IsSet(name)) {
            return;
        }
        bool ok = false;
        const double seconds = m_parser.value(QLatin1String(name)).toDouble(&ok);
        if (!ok || !(seconds >= 0 && seconds <= longestWaitSeconds)) {
            Fail(name, QStringLiteral("a number of seconds"));
        } else {
            *milliseconds = static_cast<int>(seconds * millisecondsPerSecond);
        }
    }

    void Fail(const QString &error)
    {
        if (m_error.isEmpty()) {
            m_error = error;
        }
    }

private:
    void Fail(const char *name, const QString &expected)
    {
        Fail(QStringLiteral("--%1 needs %2").arg(QLatin1String(name), expected));
    }

    QCommandLineParser m_parser;
    QString m_error;
};

void gReadAnswers(OptionReader *reader, DemoOptions *options)
{
    const QString closeWord = QStringLiteral("close");
    const QString waitWord = QStringLiteral("wait");
    reader->Read("check",
                 {QStringLiteral("none"), QStringLiteral("silent"), QStringLiteral("interactive")},
                 &options->check);
    reader->Read("on-version",
                 {QStringLiteral("update"), QStringLiteral("remind"), closeWord, waitWord},
                 &options->onVersion);
    reader->Read("on-prompt", {QStringLiteral("yes"), QStringLiteral("cancel"), waitWord},
                 &options->onPrompt);
    reader->Read("on-hint", {closeWord, waitWord}, &options->onHint);
    reader->ReadBytes("close-at-bytes", &options->closeAtBytes);
    reader->ReadBytes("titlebar-close-at-bytes", &options->titleBarCloseAtBytes);
}

void gReadQueryValues(OptionReader *reader, DemoOptions *options)
{
    reader->Read("pid", &options->pid);
    reader->Read("version", &options->version);
    reader->Read("email", &options->email);
    const int given =
        int(reader->IsSet("pid")) + int(reader->IsSet("version")) + int(reader->IsSet("email"));
    options->hasQueryValues = given == 3;
    if (given != 0 && given != 3) {
        reader->Fail(QStringLiteral("--pid, --version and --email go together"));
    }
}
} // namespace

const char *DemoOptions::Usage()
{
    return R"(usage: corvina-demo [options]

  --update-url URL              address template with pid=&version=&email=
  --product-version V           the version that this host says it has
  --config-dir DIR              where Corvina.ini and the state of downloads lie
  --data-dir DIR                the host's data directory
  --check silent|interactive|none
  --pid P --version V --email E query values of the check, all three or none

  --on-version update|remind|close|wait   answer to the version page
  --on-prompt yes|cancel|wait             answer to the install prompt
  --on-hint close|wait                    answer to the hint page
  --close-at-bytes N            press the progress page's Close once N bytes are there
  --titlebar-close-at-bytes N   the same with the title bar's button

  --gaps                        tell after a download how long the GUI thread was busy at a time
  --screenshots DIR             save a picture of every page and of the prompt
  --log FILE                    all log lines go there
  --ca FILE                     trust the certificate authorities in this PEM file as well
  --trust-key KEY               updates have to be signed by this minisign public key; repeat for more
  --statistics-host HOST:PORT   where event reports go; kept in Corvina.ini
  --timeout S                   end with status 3 after S seconds
  --linger S                    stay for S seconds after the last signal

Prints one JSON object a line on stdout for everything that happens.
)";
}

DemoOptions DemoOptions::Parse(const QStringList &arguments)
{
    DemoOptions options;
    options.updateUrl = QStringLiteral("http://127.0.0.1:8080/update?pid=&version=&email=");
    options.productVersion = QStringLiteral("9.1.0.0");

    OptionReader reader(arguments);
    options.helpWanted = reader.IsSet("help");
    reader.Read("update-url", &options.updateUrl);
    reader.Read("product-version", &options.productVersion);
    reader.Read("config-dir", &options.configDir);
    reader.Read("data-dir", &options.dataDir);
    gReadQueryValues(&reader, &options);
    gReadAnswers(&reader, &options);
    options.gaps = reader.IsSet("gaps");
    reader.Read("screenshots", &options.screenshotDir);
    reader.Read("log", &options.logFile);
    reader.Read("ca", &options.caFile);
    reader.Read("trust-key", &options.trustKeys);
    reader.Read("statistics-host", &options.statisticsHost);
    reader.ReadSeconds("timeout", &options.timeout);
    reader.ReadSeconds("linger", &options.linger);
    options.error = reader.Error();
    return options;
}
