#include "standins/signing_worker.h"

#include <comdef.h>

#include <algorithm>
#include <sstream>

#include "standins/utf8_file.h"

namespace standins {
namespace {

using _com_util::CheckError;
using AutomationObject = _com_ptr_t<_com_IIID<IDispatch, &IID_IDispatch>>;

constexpr const wchar_t* queue_key = L"SignFiles";
constexpr wchar_t separator = L'|';

// Takes the arguments last one first, as the platform does.
template <typename... Values>
_variant_t call(IDispatch* object, const wchar_t* name, Values... reversed) {
  DISPID id = DISPID_UNKNOWN;
  CheckError(object->GetIDsOfNames(IID_NULL, const_cast<wchar_t**>(&name), 1, LOCALE_USER_DEFAULT, &id));
  _variant_t arguments[]{_variant_t(reversed)...};
  DISPPARAMS parameters{arguments, nullptr, sizeof...(Values), 0};
  _variant_t answer;
  CheckError(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &answer, nullptr,
                            nullptr));
  return answer;
}

// The other processes wait while the object lives. One thread may take it more than once.
AutomationObject take_Semaphore() {
  AutomationObject semaphore(L"NorvakInter.SemaPhore");
  call(semaphore, L"WaitingForSemaphore", short{6}, 666L, L"SigningWorker");
  return semaphore;
}

std::wstring read_Queue(IDispatch* store) {
  const auto semaphore = take_Semaphore();
  const _bstr_t queue(call(store, L"get_PIN", queue_key));
  return {static_cast<const wchar_t*>(queue), queue.length()};
}

bool is_Pdf(const std::filesystem::path& file) {
  return CompareStringOrdinal(file.extension().c_str(), -1, L".pdf", -1, TRUE) == CSTR_EQUAL;
}

// Signs a file, or the PDF files in a folder and in those of its folders that are named like one.
// NOLINTNEXTLINE(misc-no-recursion): as deep as folders are
void sign_Path(const std::filesystem::path& path, const std::filesystem::path& log) {
  std::error_code error;
  if (std::filesystem::is_regular_file(path, error))
    append_Line(log.wstring(), L"signed\t" + path.wstring());
  for (const auto& entry : std::filesystem::directory_iterator(path, error))
    if (is_Pdf(entry))
      sign_Path(entry, log);
}

void sign_Files(const std::wstring& files, const std::filesystem::path& log) {
  std::wistringstream list(files);
  for (std::wstring path; std::getline(list, path, separator);)
    sign_Path(path, log);
}

// Takes the list out of the queue. One that came in behind it, or in its place, stays.
void remove_FromQueue(IDispatch* store, const std::wstring& files) {
  const auto semaphore = take_Semaphore();
  const auto queue = read_Queue(store);
  if (queue == files || queue.starts_with(files + separator))
    call(store, L"set_PIN", queue.substr(std::min(files.size() + 1, queue.size())).c_str(), queue_key);
}

}  // namespace

long sign_QueuedFiles(const std::filesystem::path& log, unsigned delay) try {
  CheckError(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));  // until the program ends
  const AutomationObject store(L"NorvakCertInstaller.iCache");
  for (std::wstring files = read_Queue(store); !files.empty(); files = read_Queue(store)) {
    sign_Files(files, log);
    Sleep(delay);
    remove_FromQueue(store, files);
  }
  return S_OK;
} catch (const _com_error& error) {
  return error.Error();
}

}  // namespace standins
