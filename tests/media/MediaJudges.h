#pragma once

#include "sqlitewrapper/Nullable.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <string>

// The tools the media tests make files with and take as judges (ffmpeg, ffprobe), and
// the texts their failures print.

std::string Str(const CNullable<int>& value);
std::string Str(const CNullable<QString>& value);

bool HaveTool(const char* name);
// Runs a tool to its end; its standard output, or a failed test when it did not succeed.
QByteArray RunTool(const QString& program, const QStringList& arguments);
// ffmpeg with arguments writing output; whether the file is there.
bool Ffmpeg(const QStringList& arguments, const QString& output);
// ffprobe's format and streams of the file.
QJsonObject Ffprobe(const QString& path);
QJsonObject FirstStream(const QJsonObject& probe, const QString& type);
// A format tag of the probe, its name in any case.
QString Tag(const QJsonObject& probe, const QString& name);
// A JSON number, or a number written as text (ffprobe writes rates as text).
double Number(const QJsonObject& object, const QString& key);
