#include "operations/DownloadArchive.h"

#include <string>

#include "base/Log.h"
#include "base/PathBuffers.h"
#include "operations/Progress.h"
#include "services/Download.h"
#include "services/Manifest.h"

namespace {

bool DownloadFrom(const std::string& address, CProgressObject* progress) {
    wchar_t url[urlBufferLength] = L"";
    const int length = MultiByteToWideChar(
        CP_UTF8, 0, address.data(), static_cast<int>(address.size()), url, urlBufferLength - 1);
    if (length == 0 && !address.empty()) {
        utilsLog.Error(L"DownloadArchive: address error: " + LastErrorText());
        return false;
    }
    return downloadFile(url, tempArchivePath, progress);
}

}  // namespace

int DownloadPosition(int rangeMin, int rangeMax, unsigned long progress,
                     unsigned long progressMax) {
    // Keeps the product below in range for archives of many megabytes.
    if (progressMax > 100) {
        progress /= 100;
        progressMax /= 100;
    }
    const unsigned long unit = static_cast<unsigned long>((rangeMax - rangeMin) / 100);
    return static_cast<int>(unit * progress * 65 / progressMax + unit * 5);
}

int DownloadArchive(CProgressObject* progress, Manifest manifest) {
    const ManifestEntry* entry = SelectManifestEntry(manifest);
    if (entry == nullptr || (entry->url.empty() && entry->altUrl.empty())) {
        progress->SetError(ErrorNoArchiveAddress);
        return -1;
    }
    if (!entry->altUrl.empty() && DownloadFrom(entry->altUrl, progress)) {
        return 0;
    }
    if (DownloadFrom(entry->url, progress)) {
        return 0;
    }
    progress->SetError(ErrorDownload);
    return -1;
}

STDMETHODIMP CProgressObject::QueryInterface(REFIID, void**) {
    return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) CProgressObject::AddRef() {
    return 1;
}

STDMETHODIMP_(ULONG) CProgressObject::Release() {
    return 1;
}

STDMETHODIMP CProgressObject::OnStartBinding(DWORD, IBinding*) {
    return E_NOTIMPL;
}

STDMETHODIMP CProgressObject::GetPriority(LONG*) {
    return E_NOTIMPL;
}

STDMETHODIMP CProgressObject::OnLowResource(DWORD) {
    return S_OK;
}

STDMETHODIMP CProgressObject::OnProgress(ULONG progress, ULONG progressMax, ULONG, LPCWSTR) {
    if (progressMax != 0) {
        position = DownloadPosition(rangeMin, rangeMax, progress, progressMax);
    }
    return S_OK;
}

STDMETHODIMP CProgressObject::OnStopBinding(HRESULT, LPCWSTR) {
    return E_NOTIMPL;
}

STDMETHODIMP CProgressObject::GetBindInfo(DWORD*, BINDINFO*) {
    return E_NOTIMPL;
}

STDMETHODIMP CProgressObject::OnDataAvailable(DWORD, DWORD, FORMATETC*, STGMEDIUM*) {
    return E_NOTIMPL;
}

STDMETHODIMP CProgressObject::OnObjectAvailable(REFIID, IUnknown*) {
    return E_NOTIMPL;
}
