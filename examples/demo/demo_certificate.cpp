#include "demo_certificate.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace {

constexpr long kValiditySeconds = 365L * 24 * 3600;
constexpr const char* kCommonName = "localhost";
constexpr const char* kAltNames = "DNS:localhost,IP:127.0.0.1,IP:::1";

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

bool exists(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

bool addExtension(X509* cert, int nid, const char* value) {
  X509V3_CTX ctx;
  X509V3_set_ctx_nodb(&ctx);
  X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
  X509_EXTENSION* ext = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value);
  if (ext == nullptr) return false;
  const bool ok = X509_add_ext(cert, ext, -1) == 1;
  X509_EXTENSION_free(ext);
  return ok;
}

// A certificate for `key`, signed by itself.
Certificate makeCertificate(EVP_PKEY* key) {
  Certificate cert(X509_new(), &X509_free);
  if (!cert) return cert;
  X509_set_version(cert.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(cert.get()), static_cast<long>(time(nullptr)));
  X509_gmtime_adj(X509_getm_notBefore(cert.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(cert.get()), kValiditySeconds);
  X509_set_pubkey(cert.get(), key);
  X509_NAME* name = X509_get_subject_name(cert.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>(kCommonName),
                             -1, -1, 0);
  X509_set_issuer_name(cert.get(), name);
  if (!addExtension(cert.get(), NID_subject_alt_name, kAltNames) ||
      X509_sign(cert.get(), key, EVP_sha256()) == 0)
    cert.reset();
  return cert;
}

// Writes with `write` into a new file of mode `mode`.
template <class Write>
bool writePem(const std::string& path, mode_t mode, Write write) {
  FILE* f = fopen(path.c_str(), "w");
  if (f == nullptr) return false;
  chmod(path.c_str(), mode);
  const bool ok = write(f) == 1;
  return fclose(f) == 0 && ok;
}

}  // namespace

bool ensureSelfSignedCertificate(const std::string& certificateFile, const std::string& keyFile,
                                 std::string& error) {
  if (exists(certificateFile) && exists(keyFile)) return true;
  Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
  if (!key) return error = "no key could be made", false;
  Certificate cert = makeCertificate(key.get());
  if (!cert) return error = "no certificate could be made", false;
  const bool keyOk = writePem(keyFile, 0600, [&](FILE* f) {
    return PEM_write_PrivateKey(f, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  });
  const bool certOk =
      keyOk && writePem(certificateFile, 0644, [&](FILE* f) { return PEM_write_X509(f, cert.get()); });
  if (!certOk) error = "can't write " + (keyOk ? certificateFile : keyFile);
  return certOk;
}
