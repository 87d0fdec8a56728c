// Starting the target program: the command line is split as a shell would and
// started detached, with its standard input, output and error on the null
// device: it must never read or write the instrument's data stream (standard
// input and output of a virtual-device run) nor keep a caller's pipe open.

#include "output/X11Keyboard.h"

#include <QProcess>
#include <QString>
#include <QStringList>

namespace output {

std::string X11WindowSystem::StartProgram(const std::string& commandLine) {
    QStringList parts = QProcess::splitCommand(QString::fromLocal8Bit(commandLine.c_str()));
    if (parts.isEmpty())
        return "The command line is empty.";
    QString program = parts.takeFirst();
    QProcess process;
    process.setProgram(program);
    process.setArguments(parts);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached())
        return process.errorString().toStdString();
    return "";
}

} // namespace output
