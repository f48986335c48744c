// "norvakcsp.PKCS7": signs files with the key of a named container, and checks such signatures. A signature
// either encloses the content (.p7m) or lies detached beside the file (.p7s).
#include <windows.h>

#include <wincrypt.h>

#include <memory>

#include "standins/component_server.h"
#include "standins/file_content.h"

namespace standins {
namespace {

constexpr DWORD encoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
constexpr const wchar_t* provider_name = MS_ENH_RSA_AES_PROV_W;
constexpr DWORD key_bits = 2048;
constexpr std::size_t ending_length = 4;  // of ".p7s"

using unique_certificate = unique_handle<PCCERT_CONTEXT, &CertFreeCertificateContext>;

// A key container. Its handle is a number, which no unique_handle can own.
struct unique_container {
  unique_container() = default;
  unique_container(const unique_container&) = delete;
  unique_container& operator=(const unique_container&) = delete;
  ~unique_container() { CryptReleaseContext(Handle, 0); }
  HCRYPTPROV Handle = 0;
};

// Throws the platform's last error unless the call that left it has succeeded.
void throw_Unless(bool succeeded) {
  if (!succeeded) {
    const auto error = GetLastError();
    throw _com_error(error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(error));
  }
}

std::string read_OrThrow(const std::wstring& path) {
  auto content = read_File(path);
  throw_Unless(content.has_value());
  return *std::move(content);
}

void write_OrThrow(const std::wstring& path, std::string_view content) {
  throw_UnlessSuccess(static_cast<LSTATUS>(write_File(path, content)));
}

const BYTE* get_Bytes(const std::string& text) {
  return reinterpret_cast<const BYTE*>(text.data());
}

// Opens the container or, the first time that its name comes up, makes it.
void open_Container(unique_container& container, const std::wstring& name) {
  const auto open = [&](DWORD flags) {
    return CryptAcquireContextW(&container.Handle, name.c_str(), provider_name, PROV_RSA_AES, flags);
  };
  throw_Unless(open(0) || open(CRYPT_NEWKEYSET));
}

// A new key is stored when its container is let go: whoever uses the key opens the container after this.
void prepare_Key(const std::wstring& container_name) {
  unique_container container;
  open_Container(container, container_name);
  HCRYPTKEY key = 0;
  if (!CryptGetUserKey(container.Handle, AT_SIGNATURE, &key))
    throw_Unless(CryptGenKey(container.Handle, AT_SIGNATURE, key_bits << 16, &key));
  CryptDestroyKey(key);
}

std::vector<BYTE> encode_CommonName(std::wstring text) {
  CERT_RDN_ATTR attribute{
      const_cast<char*>(szOID_COMMON_NAME),
      CERT_RDN_UNICODE_STRING,
      {static_cast<DWORD>(text.size() * sizeof(wchar_t)), reinterpret_cast<BYTE*>(text.data())}};
  CERT_RDN part{1, &attribute};
  const CERT_NAME_INFO name{1, &part};
  DWORD size = 0;
  throw_Unless(CryptEncodeObject(encoding, X509_UNICODE_NAME, &name, nullptr, &size));
  std::vector<BYTE> encoded(size);
  throw_Unless(CryptEncodeObject(encoding, X509_UNICODE_NAME, &name, encoded.data(), &size));
  return encoded;
}

// The container holds a key only. Each signature gets a new certificate, which is signed by the key itself:
// it names the container and says nothing about a person, so that nobody needs to find it again.
unique_certificate create_Certificate(std::wstring container_name) {
  prepare_Key(container_name);
  std::vector<BYTE> name = encode_CommonName(container_name);
  CERT_NAME_BLOB subject{static_cast<DWORD>(name.size()), name.data()};
  CRYPT_KEY_PROV_INFO key{};
  key.pwszContainerName = container_name.data();
  key.pwszProvName = const_cast<wchar_t*>(provider_name);
  key.dwProvType = PROV_RSA_AES;
  key.dwKeySpec = AT_SIGNATURE;
  CRYPT_ALGORITHM_IDENTIFIER algorithm{const_cast<char*>(szOID_RSA_SHA256RSA), {}};
  unique_certificate certificate(
      CertCreateSelfSignCertificate(0, &subject, 0, &key, &algorithm, nullptr, nullptr, nullptr));
  throw_Unless(certificate != nullptr);
  return certificate;
}

std::string sign(const std::string& content, PCCERT_CONTEXT certificate, bool is_detached) {
  CRYPT_SIGN_MESSAGE_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  parameters.dwMsgEncodingType = encoding;
  parameters.pSigningCert = certificate;
  parameters.HashAlgorithm.pszObjId = const_cast<char*>(szOID_NIST_sha256);
  parameters.cMsgCert = 1;
  parameters.rgpMsgCert = &certificate;
  const BYTE* bytes = get_Bytes(content);
  auto length = static_cast<DWORD>(content.size());
  DWORD size = 0;
  throw_Unless(CryptSignMessage(&parameters, is_detached, 1, &bytes, &length, nullptr, &size));
  std::string message(size, '\0');
  throw_Unless(CryptSignMessage(&parameters, is_detached, 1, &bytes, &length,
                                reinterpret_cast<BYTE*>(message.data()), &size));
  message.resize(size);
  return message;
}

// What a check has found. Without a valid signature there is no certificate.
struct Finding {
  unique_certificate Certificate;
  std::string Content;  // of an enclosing message
};

CRYPT_VERIFY_MESSAGE_PARA compose_Verification() {
  CRYPT_VERIFY_MESSAGE_PARA parameters{};
  parameters.cbSize = sizeof(parameters);
  parameters.dwMsgAndCertEncodingType = encoding;
  return parameters;
}

Finding verify_Detached(const std::string& message, const std::string& content) {
  auto parameters = compose_Verification();
  const BYTE* bytes = get_Bytes(content);
  auto length = static_cast<DWORD>(content.size());
  PCCERT_CONTEXT certificate = nullptr;
  const bool is_valid = CryptVerifyDetachedMessageSignature(&parameters, 0, get_Bytes(message),
                                                            static_cast<DWORD>(message.size()), 1, &bytes,
                                                            &length, &certificate);
  return {unique_certificate(is_valid ? certificate : nullptr), {}};
}

// The content is never longer than the message around it. A message that encloses nothing looks like a
// detached one of an empty file, and the platform may take it for detached only.
Finding verify_Enclosing(const std::string& message) {
  auto parameters = compose_Verification();
  std::string content(message.size(), '\0');
  auto length = static_cast<DWORD>(content.size());
  PCCERT_CONTEXT certificate = nullptr;
  if (!CryptVerifyMessageSignature(&parameters, 0, get_Bytes(message), static_cast<DWORD>(message.size()),
                                   reinterpret_cast<BYTE*>(content.data()), &length, &certificate))
    return verify_Detached(message, "");
  content.resize(length);
  return {unique_certificate(certificate), std::move(content)};
}

// A certificate that its own key has signed tells by itself whether it was changed since. For any other one
// that takes the certificate of its issuer, which need not be here.
bool is_Undamaged(PCCERT_CONTEXT certificate) {
  CERT_INFO& info = *certificate->pCertInfo;
  return !CertCompareCertificateName(encoding, &info.Issuer, &info.Subject) ||
         CryptVerifyCertificateSignature(0, encoding, certificate->pbCertEncoded, certificate->cbCertEncoded,
                                         &info.SubjectPublicKeyInfo);
}

// A certificate that always counts as valid is not asked for its time; any other must have begun and not be
// expired. Who issued it is never asked: the certificates made here are their own issuers.
bool is_Accepted(PCCERT_CONTEXT certificate, bool is_always_valid) {
  return certificate != nullptr && is_Undamaged(certificate) &&
         (is_always_valid || CertVerifyTimeValidity(nullptr, certificate->pCertInfo) == 0);
}

bool is_NamedDetached(const std::wstring& path) {
  return path.size() > ending_length &&
         CompareStringOrdinal(&path[path.size() - ending_length], -1, L".p7s", -1, TRUE) == CSTR_EQUAL;
}

_variant_t create_Signature(Arguments arguments) {
  const auto content = read_OrThrow(as_Text(arguments[0]));
  const unique_certificate certificate = create_Certificate(as_Text(arguments[2]));
  const auto is_detached = static_cast<bool>(arguments[3]);
  write_OrThrow(as_Text(arguments[1]), sign(content, certificate.get(), is_detached));
  return true;
}

_variant_t validate_Signature(Arguments arguments) {
  const auto path = as_Text(arguments[0]);
  const auto message = read_OrThrow(path);
  const auto is_detached = is_NamedDetached(path);
  const Finding finding =
      is_detached ? verify_Detached(message, read_OrThrow(path.substr(0, path.size() - ending_length)))
                  : verify_Enclosing(message);
  const auto is_valid = is_Accepted(finding.Certificate.get(), static_cast<bool>(arguments[2]));
  if (is_valid && !is_detached)
    write_OrThrow(as_Text(arguments[1]), finding.Content);
  return is_valid;
}

std::vector<Member> create_SignatureMembers() {
  // The owner of the windows that a card's reader opens. The keys here are on no card.
  const auto window = std::make_shared<_variant_t>(0L);
  return {
      {L"info", call_or_read, 0, [](Arguments) { return _variant_t(1L); }},
      {L"WindowHandle", call_or_read, 0, [window](Arguments) { return *window; }},
      {L"WindowHandle", DISPATCH_PROPERTYPUT, 1,
       [window](Arguments arguments) {
         *window = arguments[0];
         return _variant_t();
       }},
      {L"create_P7x", call_or_read, 4, create_Signature},
      {L"validate_P7x", call_or_read, 3, validate_Signature},
  };
}

}  // namespace

const Component signer_component = {
    L"norvakcsp",
    L"norvakcsp.PKCS7",
    {0x670ef5e9, 0x4292, 0x4e9b, {0xa8, 0x55, 0x7c, 0x99, 0xc4, 0x00, 0x75, 0xe2}},
    create_SignatureMembers,
};

}  // namespace standins
