// SPDX-License-Identifier: MIT

// Puts the certificate in a PEM file into the machine's store of trusted authorities.

#include <windows.h>

#include <wincrypt.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
std::vector<BYTE> gReadFile(const wchar_t *path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::vector<BYTE> certificate(text.size());
    auto size = static_cast<DWORD>(certificate.size());
    if (CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()),
                             CRYPT_STRING_BASE64HEADER, certificate.data(), &size, nullptr,
                             nullptr) == FALSE) {
        return {};
    }
    certificate.resize(size);
    return certificate;
}

bool gAddToRootStore(const std::vector<BYTE> &certificate)
{
    HCERTSTORE store =
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"ROOT");
    if (store == nullptr) {
        return false;
    }
    const BOOL added = CertAddEncodedCertificateToStore(
        store, X509_ASN_ENCODING, certificate.data(), static_cast<DWORD>(certificate.size()),
        CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    const DWORD error = GetLastError();
    CertCloseStore(store, 0);
    SetLastError(error);
    return added != FALSE;
}
} // namespace

int wmain(int argc, wchar_t *argv[])
{
    if (argc != 2) {
        static_cast<void>(std::fputs("usage: TrustCertificate FILE.pem\n", stderr));
        return 2;
    }
    const std::vector<BYTE> certificate = gReadFile(argv[1]);
    if (certificate.empty() || !gAddToRootStore(certificate)) {
        static_cast<void>(std::fprintf(stderr, "TrustCertificate: error %lu\n", GetLastError()));
        return 1;
    }
    return 0;
}
