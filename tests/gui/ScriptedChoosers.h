#pragma once

#include "ui/Choosers.h"

#include <QList>
#include <QStringList>

// Answers the file and colour choosers in the user's place, from queues the
// test fills (an empty queue answers "cancelled"), and notes each question.
class ScriptedChoosers final : public Choosers {
public:
    struct Question {
        QString title;
        QString filter;
    };

    QStringList files;           // answers to openFile and newFile, in order
    QList<QColor> colours;       // answers to colour
    QStringList texts;           // answers to text
    QStringList prompts;         // every text question asked, with its offered answer
    QList<Question> questions;   // every file question asked

    QString openFile(QWidget*, const QString& title, const QString& filter) override
    {
        return answer(title, filter);
    }
    QString newFile(QWidget*, const QString& title, const QString& filter) override
    {
        return answer(title, filter);
    }
    std::optional<QColor> colour(QWidget*, const QColor&) override
    {
        if (colours.isEmpty())
            return std::nullopt;
        return colours.takeFirst();
    }

    std::optional<QString> text(QWidget*, const QString& title, const QString& prompt,
                                const QString& initial) override
    {
        prompts << title + ": " + prompt + " [" + initial + "]";
        if (texts.isEmpty())
            return std::nullopt;
        return texts.takeFirst();
    }

private:
    QString answer(const QString& title, const QString& filter)
    {
        questions.append({title, filter});
        return files.isEmpty() ? QString() : files.takeFirst();
    }
};
