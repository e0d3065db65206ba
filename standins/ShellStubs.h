#pragma once

/// The Shell's interfaces with every method answering E_NOTIMPL, so that a stand-in writes only
/// what it stands for. Signatures as in the Windows SDK.

#include <windows.h>
#include <objbase.h>
#include <oaidl.h>
#include <exdisp.h>
#include <shldisp.h>
#include <shobjidl.h>

// Arguments after the name are the method's parameter types.
#define NOT_IMPLEMENTED(name, ...)            \
    STDMETHODIMP name(__VA_ARGS__) override { \
        return E_NOTIMPL;                     \
    }

template <typename Interface>
class NoDispatch : public Interface {
  public:
    NOT_IMPLEMENTED(GetTypeInfoCount, UINT*)
    NOT_IMPLEMENTED(GetTypeInfo, UINT, LCID, ITypeInfo**)
    NOT_IMPLEMENTED(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
    NOT_IMPLEMENTED(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
};

template <typename Interface>
class NoOleWindow : public Interface {
  public:
    NOT_IMPLEMENTED(GetWindow, HWND*)
    NOT_IMPLEMENTED(ContextSensitiveHelp, BOOL)
};

class NoShellDispatch : public NoDispatch<IShellDispatch> {
  public:
    NOT_IMPLEMENTED(get_Application, IDispatch**)
    NOT_IMPLEMENTED(get_Parent, IDispatch**)
    NOT_IMPLEMENTED(NameSpace, VARIANT, Folder**)
    NOT_IMPLEMENTED(BrowseForFolder, LONG, BSTR, LONG, VARIANT, Folder**)
    NOT_IMPLEMENTED(Windows, IDispatch**)
    NOT_IMPLEMENTED(Open, VARIANT)
    NOT_IMPLEMENTED(Explore, VARIANT)
    NOT_IMPLEMENTED(MinimizeAll)
    NOT_IMPLEMENTED(UndoMinimizeALL)
    NOT_IMPLEMENTED(FileRun)
    NOT_IMPLEMENTED(CascadeWindows)
    NOT_IMPLEMENTED(TileVertically)
    NOT_IMPLEMENTED(TileHorizontally)
    NOT_IMPLEMENTED(ShutdownWindows)
    NOT_IMPLEMENTED(Suspend)
    NOT_IMPLEMENTED(EjectPC)
    NOT_IMPLEMENTED(SetTime)
    NOT_IMPLEMENTED(TrayProperties)
    NOT_IMPLEMENTED(Help)
    NOT_IMPLEMENTED(FindFiles)
    NOT_IMPLEMENTED(FindComputer)
    NOT_IMPLEMENTED(RefreshMenu)
    NOT_IMPLEMENTED(ControlPanelItem, BSTR)
};

class NoFolder : public NoDispatch<Folder> {
  public:
    NOT_IMPLEMENTED(get_Title, BSTR*)
    NOT_IMPLEMENTED(get_Application, IDispatch**)
    NOT_IMPLEMENTED(get_Parent, IDispatch**)
    NOT_IMPLEMENTED(get_ParentFolder, Folder**)
    NOT_IMPLEMENTED(Items, FolderItems**)
    NOT_IMPLEMENTED(ParseName, BSTR, FolderItem**)
    NOT_IMPLEMENTED(NewFolder, BSTR, VARIANT)
    NOT_IMPLEMENTED(MoveHere, VARIANT, VARIANT)
    NOT_IMPLEMENTED(CopyHere, VARIANT, VARIANT)
    NOT_IMPLEMENTED(GetDetailsOf, VARIANT, int, BSTR*)
};

class NoFolderItems : public NoDispatch<FolderItems> {
  public:
    NOT_IMPLEMENTED(get_Count, LONG*)
    NOT_IMPLEMENTED(get_Application, IDispatch**)
    NOT_IMPLEMENTED(get_Parent, IDispatch**)
    NOT_IMPLEMENTED(Item, VARIANT, FolderItem**)
    NOT_IMPLEMENTED(_NewEnum, IUnknown**)
};

class NoShellWindows : public NoDispatch<IShellWindows> {
  public:
    NOT_IMPLEMENTED(get_Count, LONG*)
    NOT_IMPLEMENTED(Item, VARIANT, IDispatch**)
    NOT_IMPLEMENTED(_NewEnum, IUnknown**)
    NOT_IMPLEMENTED(Register, IDispatch*, LONG, int, LONG*)
    NOT_IMPLEMENTED(RegisterPending, LONG, VARIANT*, VARIANT*, int, LONG*)
    NOT_IMPLEMENTED(Revoke, LONG)
    NOT_IMPLEMENTED(OnNavigate, LONG, VARIANT*)
    NOT_IMPLEMENTED(OnActivated, LONG, VARIANT_BOOL)
    NOT_IMPLEMENTED(FindWindowSW, VARIANT*, VARIANT*, int, LONG*, int, IDispatch**)
    NOT_IMPLEMENTED(OnCreated, LONG, IUnknown*)
    NOT_IMPLEMENTED(ProcessAttachDetach, VARIANT_BOOL)
};

class NoWebBrowser : public NoDispatch<IWebBrowser2> {
  public:
    NOT_IMPLEMENTED(GoBack)
    NOT_IMPLEMENTED(GoForward)
    NOT_IMPLEMENTED(GoHome)
    NOT_IMPLEMENTED(GoSearch)
    NOT_IMPLEMENTED(Navigate, BSTR, VARIANT*, VARIANT*, VARIANT*, VARIANT*)
    NOT_IMPLEMENTED(Refresh)
    NOT_IMPLEMENTED(Refresh2, VARIANT*)
    NOT_IMPLEMENTED(Stop)
    NOT_IMPLEMENTED(get_Application, IDispatch**)
    NOT_IMPLEMENTED(get_Parent, IDispatch**)
    NOT_IMPLEMENTED(get_Container, IDispatch**)
    NOT_IMPLEMENTED(get_Document, IDispatch**)
    NOT_IMPLEMENTED(get_TopLevelContainer, VARIANT_BOOL*)
    NOT_IMPLEMENTED(get_Type, BSTR*)
    NOT_IMPLEMENTED(get_Left, LONG*)
    NOT_IMPLEMENTED(put_Left, LONG)
    NOT_IMPLEMENTED(get_Top, LONG*)
    NOT_IMPLEMENTED(put_Top, LONG)
    NOT_IMPLEMENTED(get_Width, LONG*)
    NOT_IMPLEMENTED(put_Width, LONG)
    NOT_IMPLEMENTED(get_Height, LONG*)
    NOT_IMPLEMENTED(put_Height, LONG)
    NOT_IMPLEMENTED(get_LocationName, BSTR*)
    NOT_IMPLEMENTED(get_LocationURL, BSTR*)
    NOT_IMPLEMENTED(get_Busy, VARIANT_BOOL*)
    NOT_IMPLEMENTED(Quit)
    NOT_IMPLEMENTED(ClientToWindow, int*, int*)
    NOT_IMPLEMENTED(PutProperty, BSTR, VARIANT)
    NOT_IMPLEMENTED(GetProperty, BSTR, VARIANT*)
    NOT_IMPLEMENTED(get_Name, BSTR*)
    NOT_IMPLEMENTED(get_HWND, SHANDLE_PTR*)
    NOT_IMPLEMENTED(get_FullName, BSTR*)
    NOT_IMPLEMENTED(get_Path, BSTR*)
    NOT_IMPLEMENTED(get_Visible, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_Visible, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_StatusBar, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_StatusBar, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_StatusText, BSTR*)
    NOT_IMPLEMENTED(put_StatusText, BSTR)
    NOT_IMPLEMENTED(get_ToolBar, int*)
    NOT_IMPLEMENTED(put_ToolBar, int)
    NOT_IMPLEMENTED(get_MenuBar, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_MenuBar, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_FullScreen, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_FullScreen, VARIANT_BOOL)
    NOT_IMPLEMENTED(Navigate2, VARIANT*, VARIANT*, VARIANT*, VARIANT*, VARIANT*)
    NOT_IMPLEMENTED(QueryStatusWB, OLECMDID, OLECMDF*)
    NOT_IMPLEMENTED(ExecWB, OLECMDID, OLECMDEXECOPT, VARIANT*, VARIANT*)
    NOT_IMPLEMENTED(ShowBrowserBar, VARIANT*, VARIANT*, VARIANT*)
    NOT_IMPLEMENTED(get_ReadyState, READYSTATE*)
    NOT_IMPLEMENTED(get_Offline, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_Offline, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_Silent, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_Silent, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_RegisterAsBrowser, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_RegisterAsBrowser, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_RegisterAsDropTarget, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_RegisterAsDropTarget, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_TheaterMode, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_TheaterMode, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_AddressBar, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_AddressBar, VARIANT_BOOL)
    NOT_IMPLEMENTED(get_Resizable, VARIANT_BOOL*)
    NOT_IMPLEMENTED(put_Resizable, VARIANT_BOOL)
};

class NoShellBrowser : public NoOleWindow<IShellBrowser> {
  public:
    NOT_IMPLEMENTED(InsertMenusSB, HMENU, LPOLEMENUGROUPWIDTHS)
    NOT_IMPLEMENTED(SetMenuSB, HMENU, HOLEMENU, HWND)
    NOT_IMPLEMENTED(RemoveMenusSB, HMENU)
    NOT_IMPLEMENTED(SetStatusTextSB, LPCWSTR)
    NOT_IMPLEMENTED(EnableModelessSB, WINBOOL)
    NOT_IMPLEMENTED(TranslateAcceleratorSB, MSG*, WORD)
    NOT_IMPLEMENTED(BrowseObject, PCUIDLIST_RELATIVE, UINT)
    NOT_IMPLEMENTED(GetViewStateStream, DWORD, IStream**)
    NOT_IMPLEMENTED(GetControlWindow, UINT, HWND*)
    NOT_IMPLEMENTED(SendControlMsg, UINT, UINT, WPARAM, LPARAM, LRESULT*)
    NOT_IMPLEMENTED(QueryActiveShellView, IShellView**)
    NOT_IMPLEMENTED(OnViewWindowActive, IShellView*)
    NOT_IMPLEMENTED(SetToolbarItems, LPTBBUTTONSB, UINT, UINT)
};

class NoShellView : public NoOleWindow<IShellView> {
  public:
    NOT_IMPLEMENTED(TranslateAccelerator, MSG*)
    NOT_IMPLEMENTED(EnableModeless, WINBOOL)
    NOT_IMPLEMENTED(UIActivate, UINT)
    NOT_IMPLEMENTED(Refresh)
    NOT_IMPLEMENTED(CreateViewWindow, IShellView*, LPCFOLDERSETTINGS, IShellBrowser*, RECT*, HWND*)
    NOT_IMPLEMENTED(DestroyViewWindow)
    NOT_IMPLEMENTED(GetCurrentInfo, LPFOLDERSETTINGS)
    NOT_IMPLEMENTED(AddPropertySheetPages, DWORD, LPFNSVADDPROPSHEETPAGE, LPARAM)
    NOT_IMPLEMENTED(SaveViewState)
    NOT_IMPLEMENTED(SelectItem, PCUITEMID_CHILD, SVSIF)
    NOT_IMPLEMENTED(GetItemObject, UINT, REFIID, void**)
};

class NoFolderView : public IFolderView {
  public:
    NOT_IMPLEMENTED(GetCurrentViewMode, UINT*)
    NOT_IMPLEMENTED(SetCurrentViewMode, UINT)
    NOT_IMPLEMENTED(GetFolder, REFIID, void**)
    NOT_IMPLEMENTED(Item, int, PITEMID_CHILD*)
    NOT_IMPLEMENTED(ItemCount, UINT, int*)
    NOT_IMPLEMENTED(Items, UINT, REFIID, void**)
    NOT_IMPLEMENTED(GetSelectionMarkedItem, int*)
    NOT_IMPLEMENTED(GetFocusedItem, int*)
    NOT_IMPLEMENTED(GetItemPosition, PCUITEMID_CHILD, POINT*)
    NOT_IMPLEMENTED(GetSpacing, POINT*)
    NOT_IMPLEMENTED(GetDefaultSpacing, POINT*)
    NOT_IMPLEMENTED(GetAutoArrange)
    NOT_IMPLEMENTED(SelectItem, int, DWORD)
    NOT_IMPLEMENTED(SelectAndPositionItems, UINT, PCUITEMID_CHILD_ARRAY, POINT*, DWORD)
};

#undef NOT_IMPLEMENTED
