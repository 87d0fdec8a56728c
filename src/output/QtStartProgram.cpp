// Starting the target program: the command line is split as a shell would and
// started detached.

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
    if (!process.startDetached())
        return process.errorString().toStdString();
    return "";
}

} // namespace output
