// Type information: ITypeInfo and ITypeLib, answered from the constant tables.
//
// A dual interface shows its automation side: a function's type is that of its [out, retval]
// parameter, and that parameter is not counted. `oVft` is its slot's offset in bytes.
#pragma once

#include "platform/automation/dispatch.h"
#include "platform/automation/tables.h"

inline constexpr HRESULT TYPE_E_TYPEMISMATCH = make_status(0x80028CA0);

using HREFTYPE = DWORD;

enum TYPEKIND : INT {
  TKIND_ENUM = 0,
  TKIND_RECORD = 1,
  TKIND_MODULE = 2,
  TKIND_INTERFACE = 3,
  TKIND_DISPATCH = 4,
  TKIND_COCLASS = 5,
  TKIND_ALIAS = 6,
  TKIND_UNION = 7,
};

enum FUNCKIND : INT { FUNC_VIRTUAL = 0, FUNC_PUREVIRTUAL = 1, FUNC_DISPATCH = 4 };
enum INVOKEKIND : INT {
  INVOKE_FUNC = 1,
  INVOKE_PROPERTYGET = 2,
  INVOKE_PROPERTYPUT = 4,
  INVOKE_PROPERTYPUTREF = 8,
};
enum VARKIND : INT { VAR_PERINSTANCE = 0, VAR_STATIC = 1, VAR_CONST = 2, VAR_DISPATCH = 3 };
enum SYSKIND : INT { SYS_WIN32 = 1, SYS_WIN64 = 3 };
inline constexpr INT CC_STDCALL = 4;

inline constexpr WORD TYPEFLAG_FCANCREATE = 0x02;
inline constexpr WORD TYPEFLAG_FDUAL = 0x40;
inline constexpr WORD TYPEFLAG_FOLEAUTOMATION = 0x100;
inline constexpr WORD TYPEFLAG_FDISPATCHABLE = 0x1000;
inline constexpr INT IMPLTYPEFLAG_FDEFAULT = 1;
inline constexpr INT IMPLTYPEFLAG_FSOURCE = 2;
inline constexpr USHORT PARAMFLAG_FHASDEFAULT = 0x20;

struct TYPEDESC {
  union {
    TYPEDESC* lptdesc;  // for VT_PTR
    HREFTYPE hreftype;  // for VT_USERDEFINED
  };
  VARTYPE vt;
};

struct PARAMDESCEX {
  ULONG cBytes;
  VARIANTARG varDefaultValue;
};
struct PARAMDESC {
  PARAMDESCEX* pparamdescex;
  USHORT wParamFlags;
};
struct ELEMDESC {
  TYPEDESC tdesc;
  PARAMDESC paramdesc;
};

struct FUNCDESC {
  MEMBERID memid;
  SCODE* lprgscode;
  ELEMDESC* lprgelemdescParam;
  FUNCKIND funckind;
  INVOKEKIND invkind;
  INT callconv;
  SHORT cParams;
  SHORT cParamsOpt;
  SHORT oVft;
  SHORT cScodes;
  ELEMDESC elemdescFunc;
  WORD wFuncFlags;
};

struct VARDESC {
  MEMBERID memid;
  OLECHAR* lpstrSchema;
  union {
    ULONG oInst;
    VARIANT* lpvarValue;
  };
  ELEMDESC elemdescVar;
  WORD wVarFlags;
  VARKIND varkind;
};

struct TYPEATTR {
  GUID guid;
  LCID lcid;
  DWORD dwReserved;
  MEMBERID memidConstructor;
  MEMBERID memidDestructor;
  OLECHAR* lpstrSchema;
  ULONG cbSizeInstance;
  TYPEKIND typekind;
  WORD cFuncs;
  WORD cVars;
  WORD cImplTypes;
  WORD cbSizeVft;
  WORD cbAlignment;
  WORD wTypeFlags;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  TYPEDESC tdescAlias;
};

struct TLIBATTR {
  GUID guid;
  LCID lcid;
  SYSKIND syskind;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  WORD wLibFlags;
};

inline constexpr MEMBERID MEMBERID_NIL = -1;

struct ITypeInfo;
struct ITypeLib;

enum DESCKIND : INT {
  DESCKIND_NONE = 0,
  DESCKIND_FUNCDESC = 1,
  DESCKIND_VARDESC = 2,
  DESCKIND_TYPECOMP = 3,
};

struct ITypeComp;

union BINDPTR {
  FUNCDESC* lpfuncdesc;  // given back to `info` of Bind
  VARDESC* lpvardesc;    // the same
  ITypeComp* lptcomp;    // counted
};

// Names to descriptions, for compilers and script hosts. Letter case does not matter, nor does
// `hash`. A name that is not there is S_OK with DESCKIND_NONE.
struct ITypeComp : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00020403, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // A type's: its member. `flags` has the wanted INVOKEKINDs, 0 for any; TYPE_E_TYPEMISMATCH when
  // the member has none of them. A library's: a value of one of its enumerations, or the
  // enumeration itself as DESCKIND_TYPECOMP, without `info`.
  virtual HRESULT Bind(OLECHAR* name, ULONG hash, WORD flags, ITypeInfo** info, DESCKIND* kind,
                       BINDPTR* found) = 0;
  // A library's type of this name; a type has none inside.
  virtual HRESULT BindType(OLECHAR* name, ULONG hash, ITypeInfo** info, ITypeComp** compiler) = 0;
};

struct ITypeInfo : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00020401, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // Each description is given back with its Release function.
  virtual HRESULT GetTypeAttr(TYPEATTR** attributes) = 0;
  virtual HRESULT GetTypeComp(ITypeComp** compiler) = 0;
  virtual HRESULT GetFuncDesc(UINT index, FUNCDESC** description) = 0;
  virtual HRESULT GetVarDesc(UINT index, VARDESC** description) = 0;
  // The member's name, then its parameters'.
  virtual HRESULT GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count) = 0;
  virtual HRESULT GetRefTypeOfImplType(UINT index, HREFTYPE* type) = 0;
  virtual HRESULT GetImplTypeFlags(UINT index, INT* flags) = 0;
  virtual HRESULT GetIDsOfNames(OLECHAR** names, UINT count, MEMBERID* ids) = 0;
  virtual HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments,
                         VARIANT* result, EXCEPINFO* exception, UINT* argument_error) = 0;
  // MEMBERID_NIL asks for the type itself. Any out-pointer may be null.
  virtual HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* help, DWORD* context,
                                   BSTR* help_file) = 0;
  virtual HRESULT GetDllEntry(MEMBERID member, INVOKEKIND kind, BSTR* library, BSTR* name,
                              WORD* ordinal) = 0;
  virtual HRESULT GetRefTypeInfo(HREFTYPE type, ITypeInfo** info) = 0;
  virtual HRESULT AddressOfMember(MEMBERID member, INVOKEKIND kind, void** address) = 0;
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT GetMops(MEMBERID member, BSTR* mops) = 0;
  virtual HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) = 0;
  virtual void ReleaseTypeAttr(TYPEATTR* attributes) = 0;
  virtual void ReleaseFuncDesc(FUNCDESC* description) = 0;
  virtual void ReleaseVarDesc(VARDESC* description) = 0;
};

struct ITypeLib : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00020402, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual UINT GetTypeInfoCount() = 0;
  virtual HRESULT GetTypeInfo(UINT index, ITypeInfo** info) = 0;
  virtual HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) = 0;
  virtual HRESULT GetTypeInfoOfGuid(REFIID guid, ITypeInfo** info) = 0;
  virtual HRESULT GetLibAttr(TLIBATTR** attributes) = 0;
  virtual HRESULT GetTypeComp(ITypeComp** compiler) = 0;
  // Index -1 asks for the library itself. Any out-pointer may be null.
  virtual HRESULT GetDocumentation(INT index, BSTR* name, BSTR* help, DWORD* context,
                                   BSTR* help_file) = 0;
  virtual HRESULT IsName(OLECHAR* name, ULONG hash, BOOL* is_name) = 0;
  // Types and members of this name; `found` is the room on entry and the count on return.
  virtual HRESULT FindName(OLECHAR* name, ULONG hash, ITypeInfo** infos, MEMBERID* members,
                           USHORT* found) = 0;
  virtual void ReleaseTLibAttr(TLIBATTR* attributes) = 0;
};

// --- type libraries in files and in the registry -------------------------------------------------
//
// A shared object is a type library file when it exports DllDescribeTypeLibrary. A library that was
// loaded from one keeps it in memory. It is registered under HKEY_CLASSES_ROOT:
//
//   TypeLib\{identity}\1.0             its help string
//   TypeLib\{identity}\1.0\0\win64     the file; the 0 is the locale, in hexadecimal
//   TypeLib\{identity}\1.0\FLAGS
//   TypeLib\{identity}\1.0\HELPDIR     when there is one

// Lends the tables of the library. `layout` says how the caller reads them (kTableLayout of
// tables.h); E_INVALIDARG when that is not how they lie.
using DllDescribeTypeLibraryFunction = HRESULT(ULONG layout, const void** table);

// TYPE_E_CANTLOADLIBRARY for a file that is missing or no type library; CoComponentError says why.
HRESULT LoadTypeLib(const OLECHAR* path, ITypeLib** library);
// The registered library of this identity, major version and locale with the highest minor version
// that is `minor` or more. TYPE_E_LIBNOTREGISTERED, or as LoadTypeLib.
HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, ITypeLib** library);
// The file that LoadRegTypeLib would load.
HRESULT QueryPathOfRegTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, BSTR* path);

// E_ACCESSDENIED or TYPE_E_REGISTRYACCESS when the registry cannot be changed; CoComponentError
// says why. `help_folder` may be null. Where they write is told by CoPerUserRegistration; the
// ...ForUser forms write for the user.
HRESULT RegisterTypeLib(ITypeLib* library, const OLECHAR* path, const OLECHAR* help_folder);
HRESULT RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* help_folder);
// One that is not registered is no failure. Keys that become empty go.
HRESULT UnRegisterTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, SYSKIND kind);
HRESULT UnRegisterTypeLibForUser(REFGUID guid, WORD major, WORD minor, LCID lcid, SYSKIND kind);

namespace tallowbrook::platform {

// Who stands behind the table of a library.
struct TypeLibraryOwner {
  // Called with true when somebody besides the creator begins to hold the library or one of its
  // types, with false when the creator is the only one again.
  void (*in_use)(bool used) = nullptr;
  // A reference of the loader's, given back with the library.
  HMODULE module = nullptr;
};

// A new type library over a table, which must outlive it: enumerations, then interfaces, then
// coclasses. Its type information objects are made with it and share its count of references. On
// failure the owner's module is given back, too.
HRESULT create_type_library(const LibraryInfo& table, ITypeLib** library,
                            const TypeLibraryOwner& owner = {});

// What their GetTypeComp gives: it keeps the type or library that it is made over.
HRESULT create_type_comp(ITypeInfo& type, ITypeComp** compiler);
HRESULT create_type_comp(ITypeLib& library, ITypeComp** compiler);

}  // namespace tallowbrook::platform
