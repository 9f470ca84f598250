// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QHash>
#include <QPair>
#include <QString>
#include <QTranslator>

/// A translation of a few texts, given in code, in the place of an installed language.
///
/// Thread: GUI thread. Ownership: as any `QTranslator`; destroying it takes the language away
/// again.
class FakeTranslator : public QTranslator
{
public:
    /// Removes the translator first, since network threads translate their own texts at any time.
    ~FakeTranslator() override { QCoreApplication::removeTranslator(this); }

    /// From now on @p source of the class @p context reads @p translation.
    void Add(const QString &context, const QString &source, const QString &translation);

    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int number) const override;
    bool isEmpty() const override { return m_texts.isEmpty(); }

private:
    QHash<QPair<QString, QString>, QString> m_texts;
};
