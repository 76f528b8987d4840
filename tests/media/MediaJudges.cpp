#include "media/MediaJudges.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

std::string Str(const CNullable<int>& value)
{
    return value.IsNull() ? "NULL" : std::to_string(value.Value());
}

std::string Str(const CNullable<QString>& value)
{
    return value.IsNull() ? "NULL" : value.Value().toStdString();
}

bool HaveTool(const char* name)
{
    return !QStandardPaths::findExecutable(QString::fromLatin1(name)).isEmpty();
}

// Runs a tool to its end; its standard output, or a failed test when it did not succeed.
QByteArray RunTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool finished = process.waitForFinished(60000);
    EXPECT_TRUE(finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        << program.toStdString() << " " << arguments.join(' ').toStdString() << ": "
        << process.readAllStandardError().toStdString();
    return process.readAllStandardOutput();
}

bool Ffmpeg(const QStringList& arguments, const QString& output)
{
    RunTool(QStringLiteral("ffmpeg"),
            QStringList{"-v", "error", "-y", "-nostdin"} + arguments + QStringList{output});
    return QFile::exists(output);
}

QJsonObject Ffprobe(const QString& path)
{
    return QJsonDocument::fromJson(
               RunTool(QStringLiteral("ffprobe"),
                       {"-v", "error", "-show_format", "-show_streams", "-of", "json", path}))
        .object();
}

QJsonObject FirstStream(const QJsonObject& probe, const QString& type)
{
    for (const QJsonValue stream : probe.value("streams").toArray()) {
        if (stream.toObject().value("codec_type").toString() == type)
            return stream.toObject();
    }
    return QJsonObject();
}

QString Tag(const QJsonObject& probe, const QString& name)
{
    const QJsonObject tags = probe.value("format").toObject().value("tags").toObject();
    for (auto it = tags.begin(); it != tags.end(); ++it) {
        if (it.key().compare(name, Qt::CaseInsensitive) == 0)
            return it.value().toString();
    }
    return QString();
}

double Number(const QJsonObject& object, const QString& key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString().toDouble() : value.toDouble();
}
