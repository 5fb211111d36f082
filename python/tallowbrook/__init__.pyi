# Made by scripts/python-stubs from the type library; not to be edited.
from datetime import datetime
from enum import IntEnum
from os import PathLike
from typing import (Any, Generic, Iterator, List, Literal, Optional, Tuple, TypeVar, Union,
                    overload)

from . import constants as constants

class Status(IntEnum):
    S_OK = 0x0
    S_FALSE = 0x1
    E_NOTIMPL = 0x80004001
    E_NOINTERFACE = 0x80004002
    E_POINTER = 0x80004003
    E_ABORT = 0x80004004
    E_FAIL = 0x80004005
    E_UNEXPECTED = 0x8000ffff
    E_ACCESSDENIED = 0x80070005
    E_OUTOFMEMORY = 0x8007000e
    E_INVALIDARG = 0x80070057
    DISP_E_MEMBERNOTFOUND = 0x80020003
    DISP_E_PARAMNOTFOUND = 0x80020004
    DISP_E_TYPEMISMATCH = 0x80020005
    DISP_E_UNKNOWNNAME = 0x80020006
    DISP_E_NONAMEDARGS = 0x80020007
    DISP_E_BADVARTYPE = 0x80020008
    DISP_E_EXCEPTION = 0x80020009
    DISP_E_OVERFLOW = 0x8002000a
    DISP_E_BADINDEX = 0x8002000b
    DISP_E_BADPARAMCOUNT = 0x8002000e
    DISP_E_PARAMNOTOPTIONAL = 0x8002000f
    CLASS_E_NOAGGREGATION = 0x80040110
    CLASS_E_CLASSNOTAVAILABLE = 0x80040111
    REGDB_E_CLASSNOTREG = 0x80040154
    CO_E_CLASSSTRING = 0x800401f3
    CO_E_DLLNOTFOUND = 0x800401f8
    CO_E_ERRORINDLL = 0x800401f9
    STG_E_INVALIDFUNCTION = 0x80030001
    STG_E_MEDIUMFULL = 0x80030070

class ComError(Exception):
    hresult: int
    description: str
    source: str
    member: str
    line: Optional[int]
    def __init__(self, hresult: int, description: str = ..., source: str = ...,
                 member: str = ...) -> None: ...

_Text = Union[str, "PathLike[str]"]
_Key = TypeVar("_Key")
_Value = TypeVar("_Value")

class _Indexed(Generic[_Key, _Value]):
    """A property that takes arguments."""
    def __call__(self, *arguments: Any, **keywords: Any) -> _Value: ...
    def __getitem__(self, key: _Key) -> _Value: ...
    def __setitem__(self, key: _Key, value: Any) -> None: ...

class _Object:
    def __bool__(self) -> Literal[True]: ...
    # Names are found in any letter case.
    def __getattr__(self, name: str) -> Any: ...

class _Collection(_Object, Generic[_Value]):
    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, key: slice) -> List[_Value]: ...
    @overload
    def __getitem__(self, key: Union[int, str]) -> _Value: ...
    def __setitem__(self, key: Any, value: Any) -> None: ...
    def __delitem__(self, key: Any) -> None: ...
    def __iter__(self) -> Iterator[_Value]: ...
    def __reversed__(self) -> Iterator[_Value]: ...
    def __contains__(self, value: Any) -> bool: ...

class _Map(_Collection[_Value]):
    def __iter__(self) -> Iterator[str]: ...  # type: ignore[override]
    def __reversed__(self) -> Iterator[str]: ...  # type: ignore[override]
    def keys(self) -> List[str]: ...
    def values(self) -> List[_Value]: ...
    def items(self) -> List[Tuple[str, _Value]]: ...

class IMimeDecoder(_Collection[Any]):
    """IMimeDecoder Interface"""
    def LoadFromFile(self, Path: _Text) -> bool:
        """Loads a message from a file"""
    def SaveToFile(self, Path: _Text) -> bool:
        """Writes the message to a file"""
    @property
    def ReturnPath(self) -> Any:
        """Return path"""
    @ReturnPath.setter
    def ReturnPath(self, value: Any) -> None: ...
    @property
    def MajorMimeVersion(self) -> int:
        """MIME version, the number before the dot"""
    @MajorMimeVersion.setter
    def MajorMimeVersion(self, value: int) -> None: ...
    @property
    def MinorMimeVersion(self) -> int:
        """MIME version, the number behind the dot"""
    @MinorMimeVersion.setter
    def MinorMimeVersion(self, value: int) -> None: ...
    @property
    def ReplyTo(self) -> Any:
        """Address for replies"""
    @ReplyTo.setter
    def ReplyTo(self, value: Any) -> None: ...
    @property
    def From(self) -> Any:
        """Authors"""
    @From.setter
    def From(self, value: Any) -> None: ...
    @property
    def Sender(self) -> Any:
        """Sender, where it is not the author"""
    @Sender.setter
    def Sender(self, value: Any) -> None: ...
    @property
    def ResentReplyTo(self) -> Any:
        """Addresses for replies to the forwarder"""
    @ResentReplyTo.setter
    def ResentReplyTo(self, value: Any) -> None: ...
    @property
    def ResentFrom(self) -> Any:
        """Forwarders"""
    @ResentFrom.setter
    def ResentFrom(self, value: Any) -> None: ...
    @property
    def ResentSender(self) -> Any:
        """Sender of the forwarded message"""
    @ResentSender.setter
    def ResentSender(self, value: Any) -> None: ...
    @property
    def Date(self) -> Any:
        """Date of the message"""
    @Date.setter
    def Date(self, value: Any) -> None: ...
    @property
    def ResentDate(self) -> Any:
        """Date of forwarding"""
    @ResentDate.setter
    def ResentDate(self, value: Any) -> None: ...
    @property
    def To(self) -> Any:
        """Recipients"""
    @To.setter
    def To(self, value: Any) -> None: ...
    @property
    def CC(self) -> Any:
        """Recipients of copies"""
    @CC.setter
    def CC(self, value: Any) -> None: ...
    @property
    def BCC(self) -> Any:
        """Recipients of blind copies"""
    @BCC.setter
    def BCC(self, value: Any) -> None: ...
    @property
    def Subject(self) -> Any:
        """Subject"""
    @Subject.setter
    def Subject(self, value: Any) -> None: ...
    @property
    def MessageID(self) -> Any:
        """Message identifier"""
    @MessageID.setter
    def MessageID(self, value: Any) -> None: ...
    def Load(self, StreamObject: Any) -> bool:
        """Loads a message from a stream object"""
    def Save(self, StreamObject: Any) -> bool:
        """Writes the message to a stream object"""
    @property
    def ReturnReceiptTo(self) -> Any:
        """Addresses for the return receipt"""
    @ReturnReceiptTo.setter
    def ReturnReceiptTo(self, value: Any) -> None: ...
    @property
    def SubjectRaw(self) -> Any:
        """Subject as it is written in the header"""
    @SubjectRaw.setter
    def SubjectRaw(self, value: Any) -> None: ...
    @property
    def Body(self) -> Any:
        """Root body part"""
    @Body.setter
    def Body(self, value: Any) -> None: ...
    @property
    def Item(self) -> _Indexed[Any, Any]:
        """Item(Index: Any): Child node"""
    @property
    def Count(self) -> int:
        """Number of child nodes"""
    @property
    def HasChildren(self) -> int:
        """Whether the node has children"""
    @property
    def Image(self) -> Any:
        """Image of the node"""
    @property
    def CanSeeEnd(self) -> int:
        """Whether the end of the children is known"""
    @property
    def IsSameSiblingImage(self) -> int:
        """Whether all siblings have one image"""
    @property
    def SmallImageList(self) -> Any:
        """Stream with the small image list"""
    @property
    def LargeImageList(self) -> Any:
        """Stream with the large image list"""
    @property
    def ID(self) -> str:
        """Type identifier of the node"""
    @property
    def Name(self) -> str:
        """Display name of the node"""
    @property
    def CanUpdateName(self) -> bool:
        """Whether the node can be renamed"""
    @property
    def UpdateName(self) -> str:
        """Renames the node"""
    @UpdateName.setter
    def UpdateName(self, value: str) -> None: ...
    @property
    def Options(self) -> Any:
        """Option definitions"""
    @property
    def CurrentValues(self) -> _Indexed[str, Any]:
        """CurrentValues(ID: _Text, bPut: bool = False): Current values of an option"""
    @property
    def ChoiceValues(self) -> _Indexed[str, Any]:
        """ChoiceValues(ID: _Text, bPut: bool = False): Values that an option can have"""
    @property
    def InterpretEmbeddedMails(self) -> bool:
        """Whether embedded messages are opened"""
    @InterpretEmbeddedMails.setter
    def InterpretEmbeddedMails(self, value: bool) -> None: ...
    @property
    def CollectRawStream(self) -> bool:
        """Whether a load keeps the bytes it read"""
    @CollectRawStream.setter
    def CollectRawStream(self, value: bool) -> None: ...
    @property
    def Charset(self) -> Any:
        """Charset that subject and body are encoded with"""
    @Charset.setter
    def Charset(self, value: Any) -> None: ...
    @property
    def Received(self) -> Any:
        """Trace headers"""
    def DebugPrint(self, str: _Text) -> None:
        """Writes a line of debug output"""
    @property
    def MessageHeader(self) -> str:
        """Header section of the message"""
    def __call__(self, Index: Any) -> Any: ...

class IMailAddress(_Object):
    """IMailAddress Interface"""
    @property
    def Address(self) -> str:
        """Address"""
    @Address.setter
    def Address(self, value: str) -> None: ...
    @property
    def NameRaw(self) -> str:
        """Display name as it is written in a header"""
    @NameRaw.setter
    def NameRaw(self, value: str) -> None: ...
    @property
    def Name(self) -> str:
        """Display name"""
    @Name.setter
    def Name(self, value: str) -> None: ...
    @property
    def RouteAddress(self) -> str:
        """Address in angle brackets"""
    @property
    def Charset(self) -> str:
        """Charset that a display name is encoded with"""
    @Charset.setter
    def Charset(self, value: str) -> None: ...

class ICollection(_Collection[Any]):
    """ICollection Interface"""
    @property
    def Item(self) -> _Indexed[int, Any]:
        """Item(Index: int): Item at a position"""
    @property
    def Count(self) -> int:
        """Number of items"""
    def Add(self, Item: Any) -> None:
        """Appends an item"""
    def Remove(self, Index: int) -> None:
        """Removes an item"""
    def Clear(self) -> None:
        """Removes all items"""
    def Modify(self, Index: int, Item: Any) -> None:
        """Replaces an item"""
    def ItemID(self, Index: int) -> Tuple[Any, Any]:
        """Item at a position and its ID"""
    def ItemByID(self, ID: Any) -> Any:
        """Item with an ID"""
    def RemoveByID(self, ID: Any) -> None:
        """Removes the item with an ID"""
    def ModifyByID(self, ID: Any, Item: Any) -> None:
        """Replaces the item with an ID"""
    def __call__(self, Index: int) -> Any: ...

class IClientSocket(_Object):
    """IClientSocket Interface"""
    def ConnectSMTP(self, strServer: _Text, nPort: int = 25) -> bool:
        """Connects to a mail server"""
    def DisconnectSMTP(self) -> bool:
        """Ends the session"""
    def PrepareSMTP(self, pDecoder: Any) -> bool:
        """Gives sender and recipients to the server"""
    def GetResultSMTP(self) -> bool:
        """Whether the server has taken the message"""

class IMimeBody(_Collection[Any]):
    """IMimeBody Interface"""
    @property
    def Item(self) -> _Indexed[int, Any]:
        """Item(Index: int): Child part at a position"""
    @property
    def Count(self) -> int:
        """Number of child parts"""
    def AddNew(self) -> Any:
        """Appends a child part"""
    def Remove(self, Index: int) -> None:
        """Removes the child part at a position"""
    def Clear(self) -> None:
        """Removes all child parts"""
    @property
    def MajorContentType(self) -> Any:
        """Major media type"""
    @MajorContentType.setter
    def MajorContentType(self, value: Any) -> None: ...
    @property
    def MinorContentType(self) -> Any:
        """Minor media type"""
    @MinorContentType.setter
    def MinorContentType(self, value: Any) -> None: ...
    @property
    def ExtField(self) -> _Indexed[str, Any]:
        """ExtField(strName: _Text): Header field by name"""
    @property
    def Encoding(self) -> Any:
        """Transfer encoding"""
    @Encoding.setter
    def Encoding(self, value: Any) -> None: ...
    @property
    def Description(self) -> Any:
        """Description"""
    @Description.setter
    def Description(self, value: Any) -> None: ...
    @property
    def ContentID(self) -> Any:
        """Content identifier"""
    @ContentID.setter
    def ContentID(self, value: Any) -> None: ...
    def ExportAsFile(self, Path: _Text) -> bool:
        """Writes the decoded content to a file"""
    def ImportFromFile(self, Path: _Text, StreamByReference: bool = False) -> bool:
        """Takes the content from a file"""
    def Export(self, pStream: Any) -> bool:
        """Writes the decoded content to a stream"""
    def Import(self, pStream: Any, StreamByReference: bool = False) -> bool:
        """Takes the content from a stream"""
    @property
    def FileName(self) -> str:
        """Name of the file to store the content in"""
    @FileName.setter
    def FileName(self, value: str) -> None: ...
    @property
    def Value(self) -> str:
        """Decoded content as text"""
    @Value.setter
    def Value(self, value: str) -> None: ...
    @property
    def EmbeddedMessage(self) -> Any:
        """Embedded message"""
    @property
    def ContentDisposition(self) -> Any:
        """Content disposition"""
    @property
    def Name(self) -> str:
        """Name parameter of the content type"""
    @Name.setter
    def Name(self, value: str) -> None: ...
    @property
    def Fields(self) -> Any:
        """Header fields"""
    @property
    def Charset(self) -> Any:
        """Charset parameter of the content type"""
    @Charset.setter
    def Charset(self, value: Any) -> None: ...
    @property
    def ContentType(self) -> Any:
        """Content type"""
    def __call__(self, Index: int) -> Any: ...

class IContentDisposition(_Object):
    """IContentDisposition Interface"""
    @property
    def Value(self) -> Any:
        """Disposition"""
    @Value.setter
    def Value(self, value: Any) -> None: ...
    @property
    def Parameters(self) -> Any:
        """Parameters"""

class IParameterMap(_Map[Any]):
    """IParameterMap Interface"""
    @property
    def Item(self) -> _Indexed[Any, Any]:
        """Item(Index: Any): Parameter by name or position"""
    @property
    def Count(self) -> int:
        """Number of parameters"""
    def Remove(self, Index: Any) -> None:
        """Removes a parameter by name or position"""
    def Clear(self) -> None:
        """Removes all parameters"""
    def Modify(self, Index: Any, Item: Any, bQuote: bool = True) -> None:
        """Sets a parameter"""
    @property
    def ParameterName(self) -> _Indexed[int, str]:
        """ParameterName(Index: int): Name of the parameter at a position"""
    def Exists(self, Index: Any) -> bool:
        """Whether there is a parameter of a name"""
    def __call__(self, Index: Any) -> Any: ...

class IFieldCollection(_Collection[str]):
    """IFieldCollection Interface"""
    @property
    def Item(self) -> _Indexed[int, str]:
        """Item(Index: int): Name of the field at a position"""
    @property
    def Count(self) -> int:
        """Number of fields"""
    def Remove(self, Index: Any) -> None:
        """Removes fields by name or position"""
    def Clear(self) -> None:
        """Removes all fields"""
    def __call__(self, Index: int) -> str: ...

class IReceivedCollection(_Collection[Any]):
    """IReceivedCollection Interface"""
    @property
    def Item(self) -> _Indexed[int, Any]:
        """Item(Index: int): Trace header at a position"""
    @property
    def Count(self) -> int:
        """Number of trace headers"""
    def Remove(self, Index: int) -> None:
        """Removes the trace header at a position"""
    def Clear(self) -> None:
        """Removes all trace headers"""
    def __call__(self, Index: int) -> Any: ...

class IReceived(_Object):
    """IReceived Interface"""
    @property
    def Value(self) -> str:
        """Text of the header"""
    @Value.setter
    def Value(self, value: str) -> None: ...
    @property
    def Date(self) -> Any:
        """Date of receipt"""
    @Date.setter
    def Date(self, value: Any) -> None: ...
    @property
    def Parameters(self) -> Any:
        """Clauses of the header"""

class IContentType(_Object):
    """IContentType Interface"""
    @property
    def Major(self) -> Any:
        """Major media type"""
    @Major.setter
    def Major(self, value: Any) -> None: ...
    @property
    def Minor(self) -> Any:
        """Minor media type"""
    @Minor.setter
    def Minor(self, value: Any) -> None: ...
    @property
    def Parameters(self) -> Any:
        """Parameters"""

class IBlob(_Object):
    """IBlob Interface"""
    def AssignString(self, strBlob: _Text) -> None:
        """Replaces the content by a text"""

class IDialupCollection(_Collection[Any]):
    """IDialupCollection Interface"""
    @property
    def Item(self) -> _Indexed[Any, Any]:
        """Item(Index: Any): Item at a position or with an ID"""
    @property
    def Count(self) -> int:
        """Number of items"""
    def Add(self, Item: Any) -> None:
        """Appends an item"""
    def Remove(self, Index: Any) -> None:
        """Removes an item"""
    def Clear(self) -> None:
        """Removes all items"""
    def Modify(self, Index: Any, Item: Any) -> None:
        """Replaces an item"""
    def ItemID(self, Index: int) -> Tuple[Any, Any]:
        """Item at a position and its ID"""
    def ItemByID(self, ID: Any) -> Any:
        """Item with an ID"""
    def RemoveByID(self, ID: Any) -> None:
        """Removes the item with an ID"""
    def ModifyByID(self, ID: Any, Item: Any) -> None:
        """Replaces the item with an ID"""
    def __call__(self, Index: Any) -> Any: ...

class IDialupConnection(_Object):
    """IDialupConnection Interface"""
    @property
    def ID(self) -> Any:
        """Identifier of the connection"""
    @property
    def Name(self) -> str:
        """Display name"""
    def Execute(self) -> None:
        """Opens the connection"""

class IComCollection(_Collection[Any]):
    """IComCollection Interface"""
    @property
    def Item(self) -> _Indexed[int, Any]:
        """Item(Index: int): Item at a position"""
    @property
    def Count(self) -> int:
        """Number of items"""
    def Add(self, Item: Any) -> None:
        """Appends an item"""
    def Remove(self, Index: int) -> None:
        """Removes an item"""
    def Clear(self) -> None:
        """Removes all items"""
    def Modify(self, Index: int, Item: Any) -> None:
        """Replaces an item"""
    def ItemByID(self, ID: int) -> Any:
        """Item with an ID"""
    def RemoveByID(self, ID: int) -> None:
        """Removes the item with an ID"""
    def ModifyByID(self, ID: int, Item: Any) -> None:
        """Replaces the item with an ID"""
    def __call__(self, Index: int) -> Any: ...

@overload
def CreateObject(
    name: Literal["Tallowbrook.Decoder", "Tallowbrook.Decoder.1"]
) -> IMimeDecoder: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.MailAddress", "Tallowbrook.MailAddress.1"]
) -> IMailAddress: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.Collection", "Tallowbrook.Collection.1"]
) -> ICollection: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.ClientSocket", "Tallowbrook.ClientSocket.1"]
) -> IClientSocket: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.MimeBody", "Tallowbrook.MimeBody.1"]
) -> IMimeBody: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.ContentDisposition", "Tallowbrook.ContentDisposition.1"]
) -> IContentDisposition: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.ParameterMap", "Tallowbrook.ParameterMap.1"]
) -> IParameterMap: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.FieldCollection", "Tallowbrook.FieldCollection.1"]
) -> IFieldCollection: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.ReceivedCollection", "Tallowbrook.ReceivedCollection.1"]
) -> IReceivedCollection: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.Received", "Tallowbrook.Received.1"]
) -> IReceived: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.ContentType", "Tallowbrook.ContentType.1"]
) -> IContentType: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.Blob", "Tallowbrook.Blob.1"]
) -> IBlob: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.DialupCollection", "Tallowbrook.DialupCollection.1"]
) -> IDialupCollection: ...
@overload
def CreateObject(
    name: Literal["Tallowbrook.DialupConnection", "Tallowbrook.DialupConnection.1"]
) -> IDialupConnection: ...
@overload
def CreateObject(name: str) -> Any: ...

def last_error() -> str: ...
def blob(data: Union[bytes, bytearray, memoryview] = b"") -> IBlob: ...
def read(source: Any) -> bytes: ...
