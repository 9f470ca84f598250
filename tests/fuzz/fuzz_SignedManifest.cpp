// SPDX-License-Identifier: MIT

// The signature of a manifest, and its signed element, which is read only behind a good one: so it is also
// read without.

#include "tests/fuzz/FuzzTarget.h"
#include "update/check/TrustedManifest.h"
#include "update/trust/SignedDocument.h"

#include <QByteArray>

#include <cstdlib>

namespace
{
// The one that make_corpus signs with.
const QString key = QStringLiteral("RWRmZmZmZmZmZjS02QQxVsttzwvrCilJt1WclA0ry22+jFOpswJ446dG");

void gExpectBounds(const SignedStatement &statement)
{
    const bool isBounded = statement.serial < SignedStatement::serialLimit &&
                           (!statement.full || statement.full->size > 0) &&
                           statement.patch.has_value() == !statement.resultSha256.isEmpty();
    if (!isBounded) {
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QList<MinisignKey> keys = gReadMinisignKeys({key});
    const QByteArray answer(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QString refusal;
    if (gReadTrustedManifest(answer, keys, &refusal).has_value() != refusal.isEmpty()) {
        std::abort(); // Refused without a reason, or accepted with one.
    }
    refusal.clear();
    if (const auto statement = gReadSignedStatement(gWithoutSignature(answer), &refusal)) {
        gExpectBounds(*statement);
    }
    return 0;
}
