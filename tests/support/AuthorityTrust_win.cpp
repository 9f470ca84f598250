// SPDX-License-Identifier: MIT

#include "tests/support/AuthorityTrust.h"

#include "tests/support/SystemPlaces.h"

#include <QTemporaryDir>

#include <array>

#include <windows.h>

#include <wincrypt.h>

namespace
{
/// With the first hash of a process, the system looks up its provider in the machine's registry.
void gHash(const CERT_CONTEXT *certificate)
{
    std::array<BYTE, 20> hash{};
    DWORD size = sizeof hash;
    if (CertGetCertificateContextProperty(certificate, CERT_HASH_PROP_ID, hash.data(), &size) ==
        FALSE) {
        qFatal("The system cannot hash the test's authority, error %lu.", GetLastError());
    }
}

void gAddToRoots(const CERT_CONTEXT *certificate)
{
    HCERTSTORE store =
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"ROOT");
    if (CertAddCertificateContextToStore(store, certificate, CERT_STORE_ADD_REPLACE_EXISTING,
                                         nullptr) == FALSE ||
        CertCloseStore(store, 0) == FALSE) {
        qFatal("The test cannot write to the store of certificates.");
    }
}

void gExpectTrust(const CERT_CONTEXT *certificate)
{
    CERT_CHAIN_PARA parameters{};
    parameters.cbSize = sizeof parameters;
    const CERT_CHAIN_CONTEXT *chain = nullptr;
    if (CertGetCertificateChain(nullptr, certificate, nullptr, nullptr, &parameters, 0, nullptr,
                                &chain) == FALSE) {
        qFatal("The system cannot judge the test's authority, error %lu.", GetLastError());
    }
    if (chain->TrustStatus.dwErrorStatus != CERT_TRUST_NO_ERROR) {
        qFatal("The system does not trust the test's authority, status %lx.",
               chain->TrustStatus.dwErrorStatus);
    }
    CertFreeCertificateChain(chain);
}
} // namespace

// Qt hands its own authorities to the system in a form that Wine does not read, so the authority
// goes into a store of the system.
void gTrustAuthority(const QSslCertificate &authority)
{
    const QByteArray bytes = authority.toDer();
    const CERT_CONTEXT *certificate = CertCreateCertificateContext(
        X509_ASN_ENCODING, reinterpret_cast<const BYTE *>(bytes.constData()),
        static_cast<DWORD>(bytes.size()));
    // `SystemPlaces` hides the machine's registry. Most processes have hashed before, when Qt opened
    // the stores, but Wine spares them that while another process opens its own.
    gHash(certificate);
    const QTemporaryDir folder;
    const SystemPlaces places(folder.path());
    gAddToRoots(certificate);
    // The process trusts what it finds when it first opens the stores, and the stores are its own
    // only from here on.
    gExpectTrust(certificate);
    CertFreeCertificateContext(certificate);
}
