#pragma once

/// What an in-process COM server needs around its objects: reference counting, look-up of
/// interfaces, a class factory, and the count of live objects that decides whether the DLL may be
/// unloaded.

#include <windows.h>
#include <objbase.h>
#include <atomic>
#include <new>

/// Objects and server locks alive in this DLL.
inline std::atomic<long> liveObjects{0};

/// Implements IUnknown for the interfaces in the list. An object is born with one reference and
/// deletes itself with the last one. The final class says in Find what it answers to.
template <typename... Interfaces>
class ComObject : public Interfaces... {
  public:
    ComObject() {
        ++liveObjects;
    }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) {
            return E_POINTER;
        }
        *out = Find(iid);
        if (!*out) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return ++references;
    }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

  protected:
    virtual ~ComObject() {
        --liveObjects;
    }
    /// The interface's pointer without a reference, or null.
    virtual void* Find(REFIID iid) = 0;

  private:
    std::atomic<ULONG> references{1};
};

/// Looks an interface up in a list; the first one also stands for IUnknown.
template <typename First, typename... Rest, typename Object>
void* FindAmong(Object* object, REFIID iid) {
    if (iid == IID_IUnknown || iid == __uuidof(First)) {
        return static_cast<First*>(object);
    }
    void* found = nullptr;
    ((iid == __uuidof(Rest) && (found = static_cast<Rest*>(object))), ...);
    return found;
}

/// Hands out a new object's interface and gives up the caller's own reference. A null object means
/// that there was no memory.
template <typename Object>
HRESULT HandOut(Object* object, REFIID iid, void** out) {
    if (!object) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = object->QueryInterface(iid, out);
    object->Release();
    return result;
}

template <typename Object>
class ClassFactory final : public ComObject<IClassFactory> {
  public:
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (outer) {
            return CLASS_E_NOAGGREGATION;
        }
        return HandOut(new (std::nothrow) Object, iid, out);
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        liveObjects += lock ? 1 : -1;
        return S_OK;
    }

  private:
    void* Find(REFIID iid) override {
        return FindAmong<IClassFactory>(this, iid);
    }
};

/// The body of a server's DllGetClassObject.
template <typename Object>
HRESULT ServeClass(REFCLSID served, REFCLSID asked, REFIID iid, void** out) {
    if (asked != served) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return HandOut(new (std::nothrow) ClassFactory<Object>, iid, out);
}
