# Made by scripts/python-stubs from the type library; not to be edited.
from enum import IntEnum

class MajorMimeTypes(IntEnum):
    """Major media types"""
    Multipart = 0
    Text = 1
    Image = 2
    Application = 3
    Audio = 4
    Video = 5
    Message = 6

class MultipartTypes(IntEnum):
    """Minor types of multipart"""
    Mixed = 0
    Parallel = 1
    Digest = 2
    Alternative = 3

class TextTypes(IntEnum):
    """Minor types of text"""
    Plain = 0
    Html = 1

class ImageTypes(IntEnum):
    """Minor types of image"""
    Gif = 0
    Jpg = 1

class ApplicationTypes(IntEnum):
    """Minor types of application"""
    OctetStream = 0
    Postscript = 1

class AudioTypes(IntEnum):
    """Minor types of audio"""
    Basic = 0

class VideoTypes(IntEnum):
    """Minor types of video"""
    Mpeg = 0

class MessageTypes(IntEnum):
    """Minor types of message"""
    Rfc822 = 0
    Partial = 1
    ExternalBody = 2

class EncoderTypes(IntEnum):
    """Transfer encodings"""
    SevenBit = 0
    QuotedPrintable = 1
    Base64 = 2
    EightBit = 3
    Binary = 4
