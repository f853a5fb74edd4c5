#include "batch/CommandLine.h"

#include "batch/Commands.h"

#include <QCoreApplication>

#include <cstdio>

namespace Tessaly {

CommandLine::CommandLine(const QString& command, const QString& purpose, const QString& operands,
                         const QString& meaning)
    : command_(command),
      parser_(std::make_unique<QCommandLineParser>()) {
    parser_->setApplicationDescription(purpose);
    parser_->addPositionalArgument(command, {}, command);
    if (!operands.isEmpty()) {
        parser_->addPositionalArgument(operands, meaning, operands);
    }
    parser_->addOption({{"h", "help"}, QCoreApplication::translate("Tessaly::Batch", "Shows this help.")});
}

void CommandLine::add(const QList<QCommandLineOption>& options) {
    parser_->addOptions(options);
}

std::optional<int> CommandLine::read(const QStringList& arguments) {
    QStringList own = arguments;
    own.removeAt(1); // the command
    if (!parser_->parse(own)) {
        return complain(parser_->errorText());
    }
    if (parser_->isSet("help")) {
        return say(parser_->helpText().toUtf8()) ? ExitCode::Done : ExitCode::Failed;
    }
    return std::nullopt;
}

QStringList CommandLine::list(const QString& option) const {
    QStringList names;
    for (const QString& name : parser_->value(option).split(',')) {
        if (!name.trimmed().isEmpty()) {
            names.append(name.trimmed());
        }
    }
    return names;
}

int CommandLine::complain(const QString& problem) const {
    tell(problem);
    tell(QCoreApplication::translate("Tessaly::Batch", "\"tessaly_batch %1 --help\" tells more").arg(command_));
    return ExitCode::Usage;
}

void tell(const QString& line) {
    std::fputs(("tessaly_batch: " + line + '\n').toUtf8().constData(), stderr);
}

void tellOf(const QString& file, const QString& line) {
    tell(file + ": " + line);
}

bool say(const QByteArray& text) {
    const auto size = static_cast<std::size_t>(text.size());
    return std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
}

} // namespace Tessaly
