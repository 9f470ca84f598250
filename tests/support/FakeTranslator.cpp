// SPDX-License-Identifier: MIT

#include "tests/support/FakeTranslator.h"

void FakeTranslator::Add(const QString &context, const QString &source, const QString &translation)
{
    m_texts.insert({context, source}, translation);
}

QString FakeTranslator::translate(const char *context, const char *sourceText,
                                  const char *disambiguation, int number) const
{
    Q_UNUSED(disambiguation)
    Q_UNUSED(number)
    return m_texts.value({QString::fromLatin1(context), QString::fromUtf8(sourceText)});
}
