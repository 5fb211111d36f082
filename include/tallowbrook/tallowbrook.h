// Tallowbrook: an in-process automation component that loads, edits, writes and sends Internet
// mail. This header is all that a C++ host includes.
//
// Load the component into the process, then create a class by its ProgID (class_ids.h) and ask the
// object for its interface:
//
//   "Tallowbrook.Decoder"      IMimeDecoder   a message
//   "Tallowbrook.MailAddress"  IMailAddress   an address to put into one
//   "Tallowbrook.Collection"   ICollection    a list, of addresses for instance
//   "Tallowbrook.Blob"         IBlob          bytes as a stream
//   "Tallowbrook.ClientSocket" IClientSocket  the road to a mail server
//
// Every method answers a status; out-parameters are cleared first and belong to the caller
// (strings: SysFreeString, variants: VariantClear, interfaces: Release). In-parameters stay the
// caller's. A null BSTR is an empty string.
#pragma once

#include "platform/automation/dispatch.h"
#include "platform/automation/variant.h"
#include "platform/com/activation.h"
#include "platform/com/unknown.h"
#include "platform/shell/context_menu.h"
#include "platform/storage/stream.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/client_socket.h"
#include "tallowbrook/collections.h"
#include "tallowbrook/content.h"
#include "tallowbrook/dialup.h"
#include "tallowbrook/enumerations.h"
#include "tallowbrook/events.h"
#include "tallowbrook/mail_address.h"
#include "tallowbrook/mime_body.h"
#include "tallowbrook/mime_decoder.h"
#include "tallowbrook/options.h"
#include "tallowbrook/trace_headers.h"
