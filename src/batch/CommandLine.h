#pragma once

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace Tessaly {

/// The command line of one command: its options, help on request, and complaints with exit code 2.
class CommandLine {
public:
    /// @param command  name, e.g. "run"
    /// @param purpose  first lines of the help
    /// @param operands how they are written, e.g. "FILE..."
    CommandLine(const QString& command, const QString& purpose, const QString& operands, const QString& meaning);

    void add(const QList<QCommandLineOption>& options);
    /// Reads a command line. Returns the exit code if that is the end of it: help was asked for, or it is wrong.
    std::optional<int> read(const QStringList& arguments);

    bool has(const QString& option) const { return parser_->isSet(option); }
    QString value(const QString& option) const { return parser_->value(option); }
    QStringList values(const QString& option) const { return parser_->values(option); }
    QStringList operands() const { return parser_->positionalArguments(); }
    /// The names behind an option, at commas.
    QStringList list(const QString& option) const;
    /// Says what is wrong with the command line. Returns the exit code.
    int complain(const QString& problem) const;

private:
    QString command_;
    std::unique_ptr<QCommandLineParser> parser_;
};

/// Writes a line on the standard error stream, with the program's name before it.
void tell(const QString& line);
/// The same about a file.
void tellOf(const QString& file, const QString& line);
/// Writes text to the standard output; false if not all of it could be written.
bool say(const QByteArray& text);

} // namespace Tessaly
