#pragma once

#include <QString>

#include <map>

// A template of a file that shelfwise-mkdocs writes (a manual page, the bash completion):
// the file's text with slots, @NAME@, that the generator fills from the command table.
// A slot alone on its line takes a block of lines, and leaves no line behind when its
// value is empty; a slot within a line takes text. A line that starts with "@@" is a note
// for the template's reader and is left out.
class DocTemplate final
{
public:
    /// The template FOLDER/NAME; throws std::runtime_error when it cannot be read.
    static DocTemplate Load(const QString& folder, const QString& name);

    /// A template of that text; name says which one in errors.
    DocTemplate(QString name, const QString& text);

    /// Gives a slot its value.
    DocTemplate& Fill(const QString& slot, const QString& value);

    /// The text with every slot filled. Throws std::invalid_argument when a slot of the
    /// text has no value, or a value has no slot: the template and the generator disagree.
    QString Text() const;

private:
    QString m_name;
    QString m_text;
    std::map<QString, QString> m_values;
};
