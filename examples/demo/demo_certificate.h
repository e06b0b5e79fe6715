// A self-signed certificate for the demo's HTTPS interface, made through
// the OpenSSL library (no program is called).
#pragma once

#include <string>

// When `certificateFile` or `keyFile` is missing, writes both: a P-256 key
// and a certificate for "localhost" and 127.0.0.1, valid for one year.
// Answers false (with a reason in `error`) when they could not be made.
bool ensureSelfSignedCertificate(const std::string& certificateFile, const std::string& keyFile,
                                 std::string& error);
