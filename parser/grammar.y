/* The syntax of Internet messages (RFC 822 headers, RFC 2045-2046 bodies) over the scanner's tokens.
 *
 * The scanner does the context work: it chooses how each field's value is read and delivers body
 * text in whole lines, so the grammar is a flat list of alternatives per field, most of them
 * tolerant. Almost every field also takes an unparsed value (tok_FIELDCONTENT) or none. Single
 * values are parsed behind pseudo-header tokens (tok_Internal...).
 *
 * Every alternative carries its number, every action is one call. There are no recovery rules: the
 * first syntax error ends the parse. Before an action runs, $$ is a copy of $1; `take($$, $1)` gives
 * that copy up and moves the value out, so that joining to it costs no copy of what is there.
 */
%require "3.8"
%skeleton "lalr1.cc"
%define api.namespace {tallowbrook}
%define api.parser.class {GrammarParser}
%define api.value.type {HeaderValue}
%define parse.error custom
%expect 0
%param { Scanner& scanner }
%parse-param { Actions& act }

%code requires {
#include "model/header_value.h"

namespace tallowbrook {
class Actions;
class Scanner;
}  // namespace tallowbrook
}

%code {
#include "parser/actions.h"
#include "parser/scanner.h"

namespace tallowbrook {
namespace {

int yylex(HeaderValue* value, Scanner& scanner) { return scanner.next(*value); }

}  // namespace
}  // namespace tallowbrook
}

%start message

%token END_OF_INPUT 0 "$end"
%token tok_ATOM 258
%token tok_DOMAIN_LITERAL 259
%token tok_QUOTED_STRING 260
%token tok_Date_WeekDay 261
%token tok_Date_Month 262
%token tok_Date_Zone 263
%token tok_TEXT 264
%token tok_UUENCODE_BEGIN 265
%token tok_UUENCODE_END 266
%token tok_MSGID 267
%token tok_FIELDCONTENT 268
%token tok_Version 269
%token tok_ReturnPath 270
%token tok_Received 271
%token tok_Received_from 272
%token tok_Received_by 273
%token tok_Received_via 274
%token tok_Received_with 275
%token tok_Received_id 276
%token tok_Received_for 277
%token tok_ReplyTo 278
%token tok_From 279
%token tok_Sender 280
%token tok_ResentReplyTo 281
%token tok_ResentFrom 282
%token tok_ResentSender 283
%token tok_Date 284
%token tok_ResentDate 285
%token tok_To 286
%token tok_ResentTo 287
%token tok_cc 288
%token tok_Resentcc 289
%token tok_bcc 290
%token tok_Resentbcc 291
%token tok_MessageID 292
%token tok_ResentMessageID 293
%token tok_InReplyTo 294
%token tok_References 295
%token tok_Keywords 296
%token tok_Subject 297
%token tok_Comments 298
%token tok_Encrypted 299
%token tok_ExtField 300
%token tok_ReturnReceiptTo 301
%token tok_INTEGER 302
%token tok_Postscript 303
%token tok_Application 304
%token tok_OctetStream 305
%token tok_ftp 306
%token tok_anon_ftp 307
%token tok_tftp 308
%token tok_local_file 309
%token tok_afs 310
%token tok_mail_server 311
%token tok_Audio 312
%token tok_Basic 313
%token tok_BoundValue 314
%token tok_CloseDelimiter 315
%token tok_Delimiter 316
%token tok_ContentType 317
%token tok_ContentTransferEncoding 318
%token tok_AccessType 319
%token tok_Expiration 320
%token tok_Size 321
%token tok_Permission 322
%token tok_Name 323
%token tok_Site 324
%token tok_Dir 325
%token tok_Mode 326
%token tok_Server 327
%token tok_SubjectParam 328
%token tok_IANA 329
%token tok_ContentID 330
%token tok_ContentDisposition 331
%token tok_Image 332
%token tok_Gif 333
%token tok_Jpeg 334
%token tok_7bit 335
%token tok_quoted_printable 336
%token tok_base64 337
%token tok_8bit 338
%token tok_binary 339
%token tok_rfc822 340
%token tok_partial 341
%token tok_external_body 342
%token tok_Message 343
%token tok_mixed 344
%token tok_parallel 345
%token tok_digest 346
%token tok_alternative 347
%token tok_Boundary 348
%token tok_Id 349
%token tok_Number 350
%token tok_Total 351
%token tok_Type 352
%token tok_Padding 353
%token tok_Plain 354
%token tok_Text 355
%token tok_Charset 356
%token tok_TOKEN 357
%token tok_mpeg 358
%token tok_XTOKEN 359
%token tok_ContentDescription 360
%token tok_Read 361
%token tok_ReadWrite 362
%token tok_Multipart 363
%token tok_Video 364
%token tok_Html 365
%token tok_BEGIN_MULTIPART_BODY 366
%token tok_BEGIN_TEXT_BODY 367
%token tok_KommaSepWord 368
%token tok_InternalKommaSep 369
%token tok_InternalAddress 370
%token tok_InternalCTTYPE 371
%token tok_InternalDisposition 372
%token tok_InternalUUEnc 373
%token tok_Invalid 374

%%

/* ---- the message and its fields -------------------------------------------------------------- */

message:
    fields      /*   1 */ { act.message(take($$, $1)); }
  | fields body /*   2 */ { act.message(take($$, $1), $2); }
  ;

body:
    text_body      /*   3 */
  | multipart_body /*   4 */
  ;

text_body:
    tok_BEGIN_TEXT_BODY bulkstream /*   5 */ { $$ = act.whole_body(std::move($2)); }
  | tok_BEGIN_TEXT_BODY            /*   6 */ { $$ = act.empty_body(); }
  ;

fields:
    field        /*   7 */ { $$ = act.first_field(take($$, $1)); }
  | fields field /*   8 */ { $$ = act.next_field(take($$, $1), $2); }
  ;

field:
    dates          /*   9 */ { $$.Reset(); }
  | source         /*  10 */ { $$.Reset(); }
  | destination    /*  11 */ { $$.Reset(); }
  | optional_field /*  12 */
  ;

source:
    trace      /*  13 */
  | originator /*  14 */
  | resent     /*  15 */
  ;

trace:
    return   /*  16 */
  | received /*  17 */
  ;

/* ---- trace headers --------------------------------------------------------------------------- */

received:
    tok_Received Received_Params ';' date_time /*  18 */ { act.received($2, $4); }
  | tok_Received Received_Params               /*  19 */ { act.received($2); }
  | tok_Received Received_Params ';'           /*  20 */ { act.received($2); }
  | tok_Received ';' date_time                 /*  21 */ { act.received_date($3); }
  | tok_Received                               /*  22 */ { act.received(); }
  | tok_Received tok_FIELDCONTENT              /*  23 */ { act.raw_received($2); }
  ;

Received_Params:
    Received_Param                 /*  24 */ { $$ = act.first_entry(take($$, $1)); }
  | Received_Params Received_Param /*  25 */ { $$ = act.append(take($$, $1), $2); }
  ;

Received_Param:
    tok_Received_from Phrase    /*  26 */ { $$ = act.parameter("from", $2); }
  | tok_Received_by Phrase      /*  27 */ { $$ = act.parameter("by", $2); }
  | tok_Received_via Phrase     /*  28 */ { $$ = act.parameter("via", $2); }
  | tok_Received_with Phrase    /*  29 */ { $$ = act.parameter("with", $2); }
  | tok_Received_id msg_id      /*  30 */ { $$ = act.parameter("id", $2); }
  | tok_Received_for addr_spec  /*  31 */ { $$ = act.parameter("for", $2); }
  | tok_Received_for route_addr /*  32 */ { $$ = act.parameter("for", $2); }
  | tok_Received_from           /*  33 */ { $$ = act.parameter("from"); }
  | tok_Received_by             /*  34 */ { $$ = act.parameter("by"); }
  | tok_Received_via            /*  35 */ { $$ = act.parameter("via"); }
  | tok_Received_with           /*  36 */ { $$ = act.parameter("with"); }
  | tok_Received_id             /*  37 */ { $$ = act.parameter("id"); }
  | tok_Received_for            /*  38 */ { $$ = act.parameter("for"); }
  ;

/* ---- recipients and single values ------------------------------------------------------------ */

destination:
    tok_To addresses                         /*  39 */ { act.store(SlotId::To, $2); }
  | tok_To tok_FIELDCONTENT                  /*  40 */ { act.store(SlotId::To, $2); }
  | tok_ResentTo addresses                   /*  41 */ { act.store(SlotId::ResentTo, $2); }
  | tok_ResentTo tok_FIELDCONTENT            /*  42 */ { act.store(SlotId::ResentTo, $2); }
  | tok_cc addresses                         /*  43 */ { act.store(SlotId::Cc, $2); }
  | tok_cc tok_FIELDCONTENT                  /*  44 */ { act.store(SlotId::Cc, $2); }
  | tok_Resentcc addresses                   /*  45 */ { act.store(SlotId::ResentCc, $2); }
  | tok_Resentcc tok_FIELDCONTENT            /*  46 */ { act.store(SlotId::ResentCc, $2); }
  | tok_bcc addresses                        /*  47 */ { act.store(SlotId::Bcc, $2); }
  | tok_bcc tok_FIELDCONTENT                 /*  48 */ { act.store(SlotId::Bcc, $2); }
  | tok_Resentbcc addresses                  /*  49 */ { act.store(SlotId::ResentBcc, $2); }
  | tok_Resentbcc tok_FIELDCONTENT           /*  50 */ { act.store(SlotId::ResentBcc, $2); }
  | tok_InternalKommaSep komma_sperated_list /*  51 */ { act.single($2); }
  | tok_InternalAddress addresses            /*  52 */ { act.single($2); }
  | tok_InternalCTTYPE mime_type             /*  53 */ { act.single($2); }
  | tok_InternalDisposition content_dispval  /*  54 */ { act.single($2); }
  | tok_InternalUUEnc uuencode               /*  55 */ { act.uu_done($2); }
  | tok_To                                   /*  56 */
  | tok_ResentTo                             /*  57 */
  | tok_cc                                   /*  58 */
  | tok_Resentcc                             /*  59 */
  | tok_bcc                                  /*  60 */
  | tok_Resentbcc                            /*  61 */
  ;

/* ---- optional fields ------------------------------------------------------------------------- */

optional_field:
    tok_MessageID msg_id                 /*  62 */ { $$ = act.store(SlotId::MessageID, $2); }
  | tok_MessageID textstream             /*  63 */ { $$ = act.store(SlotId::MessageID, $2); }
  | tok_Subject textstream               /*  64 */ { $$ = act.store(SlotId::Subject, $2); }
  | tok_ExtField tok_FIELDCONTENT        /*  65 */ { $$ = act.extension_field(take($$, $1), $2); }
  | tok_ReturnReceiptTo addresses        /*  66 */ { $$ = act.store(SlotId::ReturnReceiptTo, $2); }
  | tok_ReturnReceiptTo tok_FIELDCONTENT /*  67 */ { $$ = act.store(SlotId::ReturnReceiptTo, $2); }
  | tok_Subject                          /*  68 */ { $$.Reset(); }
  | tok_ReturnReceiptTo                  /*  69 */ { $$.Reset(); }
  | version                              /*  70 */
  | tok_MessageID                        /*  71 */ { $$.Reset(); }
  | tok_ExtField                         /*  72 */ { $$ = act.usual_fields(take($$, $1)); }
  | content                              /*  73 */ { $$ = act.entry(EntryName::ContentType, take($$, $1)); }
  | description                          /*  74 */ { $$ = act.entry(EntryName::ContentDescription, take($$, $1)); }
  | encoding                             /*  75 */ { $$ = act.entry(EntryName::ContentTransferEncoding, take($$, $1)); }
  | content_id                           /*  76 */ { $$ = act.entry(EntryName::ContentID, take($$, $1)); }
  | content_disposition                  /*  77 */ { $$ = act.entry(EntryName::ContentDisposition, take($$, $1)); }
  ;

/* ---- lenient comma lists --------------------------------------------------------------------- */

komma_sep_word:
    tok_KommaSepWord  /*  78 */ { $$ = act.list_word($1); }
  | tok_QUOTED_STRING /*  79 */ { $$ = act.list_word($1); }
  ;

komma_sep_words:
    komma_sep_word                 /*  80 */
  | komma_sep_words komma_sep_word /*  81 */ { $$ = act.more_words(take($$, $1), $2); }
  ;

komma_sperated_list:
    komma_sep_words                         /*  82 */ { $$ = HeaderValue::list(take($$, $1)); }
  | komma_sperated_list ',' komma_sep_words /*  83 */ { $$ = act.append(take($$, $1), $3); }
  ;

msg_id:
    tok_MSGID /*  84 */
  ;

/* ---- originators ----------------------------------------------------------------------------- */

return:
    tok_ReturnPath address          /*  85 */ { act.store(SlotId::ReturnPath, $2); }
  | tok_ReturnPath tok_FIELDCONTENT /*  86 */ { act.store(SlotId::ReturnPath, $2); }
  | tok_ReturnPath                  /*  87 */
  ;

originator:
    authentic /*  88 */
  ;

authentic:
    tok_From mailboxes           /*  89 */ { act.store(SlotId::From, $2); }
  | tok_From tok_FIELDCONTENT    /*  90 */ { act.store(SlotId::From, $2); }
  | tok_Sender mailbox           /*  91 */ { act.store(SlotId::Sender, $2); }
  | tok_Sender tok_FIELDCONTENT  /*  92 */ { act.store(SlotId::Sender, $2); }
  | tok_ReplyTo address          /*  93 */ { act.store(SlotId::ReplyTo, $2); }
  | tok_ReplyTo tok_FIELDCONTENT /*  94 */ { act.store(SlotId::ReplyTo, $2); }
  | tok_From                     /*  95 */
  | tok_Sender                   /*  96 */
  | tok_ReplyTo                  /*  97 */
  ;

/* ---- resent originators ---------------------------------------------------------------------- */

resent:
    resent_authentic /*  98 */
  ;

resent_authentic:
    tok_ResentFrom mailboxes           /*  99 */ { act.store(SlotId::ResentFrom, $2); }
  | tok_ResentFrom tok_FIELDCONTENT    /* 100 */ { act.store(SlotId::ResentFrom, $2); }
  | tok_ResentSender mailbox           /* 101 */ { act.store(SlotId::ResentSender, $2); }
  | tok_ResentSender tok_FIELDCONTENT  /* 102 */ { act.store(SlotId::ResentSender, $2); }
  | tok_ResentReplyTo addresses        /* 103 */ { act.store(SlotId::ResentReplyTo, $2); }
  | tok_ResentReplyTo tok_FIELDCONTENT /* 104 */ { act.store(SlotId::ResentReplyTo, $2); }
  | tok_ResentFrom                     /* 105 */
  | tok_ResentSender                   /* 106 */
  | tok_ResentReplyTo                  /* 107 */
  ;

/* ---- dates and times ------------------------------------------------------------------------- */

dates:
    orig_date   /* 108 */
  | resent_date /* 109 */
  ;

orig_date:
    tok_Date date_time        /* 110 */ { act.store(SlotId::Date, $2); }
  | tok_Date tok_FIELDCONTENT /* 111 */ { act.store(SlotId::Date, $2); }
  | tok_Date                  /* 112 */
  ;

resent_date:
    tok_ResentDate date_time        /* 113 */ { act.store(SlotId::ResentDate, $2); }
  | tok_ResentDate tok_FIELDCONTENT /* 114 */ { act.store(SlotId::ResentDate, $2); }
  | tok_ResentDate                  /* 115 */
  ;

date_time:
    date time         /* 116 */ { $$ = act.date_time($1, $2); }
  | day ',' date time /* 117 */ { $$ = act.date_time($3, $4); }
  ;

day:
    tok_Date_WeekDay /* 118 */
  ;

date:
    tok_INTEGER month tok_INTEGER /* 119 */ { $$ = act.date($1, $2, $3); }
  ;

month:
    tok_Date_Month /* 120 */
  ;

time:
    hour zone /* 121 */ { $$ = act.time($1, $2); }
  | hour      /* 122 */ { $$ = act.time($1); }
  | zone      /* 123 */ { $$ = act.zone_only($1); }
  ;

hour:
    tok_INTEGER ':' tok_INTEGER ':' tok_INTEGER /* 124 */ { $$ = act.hour($1, $3, $5); }
  | tok_INTEGER ':' tok_INTEGER                 /* 125 */ { $$ = act.hour($1, $3); }
  ;

zone:
    tok_Date_Zone /* 126 */
  | tok_INTEGER   /* 127 */ { $$ = act.numeric_zone($1); }
  ;

/* ---- addresses ------------------------------------------------------------------------------- */

addresses:
    address               /* 128 */ { $$ = act.first_entry(take($$, $1)); }
  | addresses ',' address /* 129 */ { $$ = act.append(take($$, $1), $3); }
  ;

address:
    mailbox /* 130 */
  | group   /* 131 */
  ;

group:
    Phrase ':' ';'         /* 132 */ { $$ = act.empty_group(take($$, $1)); }
  | Phrase ':' mailbox ';' /* 133 */ { $$ = std::move($3); }
  ;

mailboxes:
    mailbox               /* 134 */ { $$ = act.first_entry(take($$, $1)); }
  | mailboxes ',' mailbox /* 135 */ { $$ = act.append(take($$, $1), $3); }
  ;

mailbox:
    addr_spec         /* 136 */ { $$ = act.mailbox(take($$, $1)); }
  | Phrase route_addr /* 137 */ { $$ = act.mailbox($2, take($$, $1)); }
  | route_addr        /* 138 */ { $$ = act.mailbox(take($$, $1)); }
  ;

route_addr:
    '<' addr_spec '>'       /* 139 */ { $$ = act.route_addr($2); }
  | '<' route addr_spec '>' /* 140 */ { $$ = act.route_addr($2, $3); }
  | '<' '>'                 /* 141 */ { $$ = act.route_addr(); }
  ;

route:
    '@' domain ':' /* 142 */ { $$ = act.route($2); }
  ;

addr_spec:
    local_part '@' domain            /* 143 */ { $$ = act.addr_spec(take($$, $1), $3); }
  | local_part '@' domain route_addr /* 144 */ { $$ = std::move($4); }
  | local_part                       /* 145 */ { $$ = act.addr_spec(take($$, $1)); }
  ;

local_part:
    Word                /* 146 */
  | Word '.' local_part /* 147 */ { $$ = act.dotted(take($$, $1), $3); }
  ;

Phrase:
    Word        /* 148 */
  | Phrase Word /* 149 */ { $$ = act.phrase(take($$, $1), $2); }
  ;

Word:
    tok_ATOM           /* 150 */
  | tok_QUOTED_STRING  /* 151 */
  | tok_DOMAIN_LITERAL /* 152 */
  ;

domain:
    sub_domain            /* 153 */
  | sub_domain '.' domain /* 154 */ { $$ = act.dotted(take($$, $1), $3); }
  ;

sub_domain:
    domain_ref         /* 155 */
  | tok_DOMAIN_LITERAL /* 156 */
  ;

domain_ref:
    tok_ATOM /* 157 */
  ;

/* ---- body text ------------------------------------------------------------------------------- */

bulkstream:
    tok_TEXT                      /* 158 */ { $$ = act.first_line(take($$, $1)); }
  | tok_UUENCODE_BEGIN            /* 159 */ { $$ = act.first_begin_line(take($$, $1)); }
  | tok_UUENCODE_END              /* 160 */ { $$ = act.first_line(take($$, $1)); }
  | bulkstream tok_TEXT           /* 161 */ { $$ = act.next_line(take($$, $1), $2); }
  | bulkstream tok_UUENCODE_BEGIN /* 162 */ { $$ = act.next_begin_line(take($$, $1), $2); }
  | bulkstream tok_UUENCODE_END   /* 163 */ { $$ = act.next_line(take($$, $1), $2); }
  ;

uuencode:
    tok_TEXT                    /* 164 */ { $$ = act.uu_text(act.uu_start(), take($$, $1)); }
  | tok_UUENCODE_BEGIN          /* 165 */ { $$ = act.uu_begin(act.uu_start(), take($$, $1)); }
  | tok_UUENCODE_END            /* 166 */ { $$ = act.uu_text(act.uu_start(), take($$, $1)); }
  | uuencode tok_TEXT           /* 167 */ { $$ = act.uu_text(take($$, $1), $2); }
  | uuencode tok_UUENCODE_BEGIN /* 168 */ { $$ = act.uu_begin(take($$, $1), $2); }
  | uuencode tok_UUENCODE_END   /* 169 */ { $$ = act.uu_end(take($$, $1), $2); }
  ;

textstream:
    tok_TEXT                      /* 170 */ { $$ = HeaderValue::owned(take($$, $1)); }
  | textstream tok_TEXT           /* 171 */ { $$ = act.append(take($$, $1), $2); }
  | tok_UUENCODE_END              /* 172 */ { $$ = HeaderValue::owned(take($$, $1)); }
  | textstream tok_UUENCODE_END   /* 173 */ { $$ = act.append(take($$, $1), $2); }
  | tok_UUENCODE_BEGIN            /* 174 */ { $$ = HeaderValue::owned(take($$, $1)); }
  | textstream tok_UUENCODE_BEGIN /* 175 */ { $$ = act.append(take($$, $1), $2); }
  ;

vtrash:
    tok_INTEGER        /* 176 */
  | '.'                /* 177 */
  | vtrash tok_INTEGER /* 178 */
  | vtrash '.'         /* 179 */
  ;

/* ---- MIME version ---------------------------------------------------------------------------- */

version:
    tok_Version tok_INTEGER '.' tok_INTEGER vtrash /* 180 */ { act.version($2, $4); }
  | tok_Version tok_INTEGER '.' tok_INTEGER        /* 181 */ { act.version($2, $4); }
  | tok_Version tok_INTEGER '.'                    /* 182 */ { act.version($2); }
  | tok_Version tok_INTEGER                        /* 183 */ { act.version($2); }
  | tok_Version                                    /* 184 */ { act.version(); }
  ;

/* ---- MIME fields and multipart bodies -------------------------------------------------------- */

atype:
    tok_ftp         /* 185 */ { $$ = HeaderValue::integer(0); }
  | tok_anon_ftp    /* 186 */ { $$ = HeaderValue::integer(1); }
  | tok_tftp        /* 187 */ { $$ = HeaderValue::integer(2); }
  | tok_local_file  /* 188 */ { $$ = HeaderValue::integer(3); }
  | tok_afs         /* 189 */ { $$ = HeaderValue::integer(4); }
  | tok_mail_server /* 190 */ { $$ = HeaderValue::integer(5); }
  | value           /* 191 */
  ;

boundary:
    tok_BoundValue /* 192 */
  ;

charset:
    value /* 193 */
  ;

close_delimiter:
    tok_CloseDelimiter /* 194 */
  ;

content:
    tok_ContentType mime_type        /* 195 */ { $$ = std::move($2); }
  | tok_ContentType tok_FIELDCONTENT /* 196 */ { $$ = std::move($2); }
  | tok_ContentType                  /* 197 */ { $$ = act.type(Major::Application); }
  ;

delimiter:
    tok_Delimiter /* 198 */
  ;

description:
    tok_ContentDescription            /* 199 */ { $$ = HeaderValue::text({}); }
  | tok_ContentDescription textstream /* 200 */ { $$ = std::move($2); }
  ;

discard_text:
    textstream /* 201 */ { $$.Reset(); }
  ;

encapsulation:
    delimiter fields body /* 202 */ { $$ = HeaderValue::list(std::move($2), std::move($3)); }
  | delimiter body        /* 203 */ { $$ = HeaderValue::list({}, std::move($2)); }
  | delimiter             /* 204 */ { $$ = HeaderValue::list({}); }
  ;

encapsulations:
    encapsulation                /* 205 */ { $$ = HeaderValue::list(take($$, $1)); }
  | encapsulations encapsulation /* 206 */ { $$ = act.append(take($$, $1), $2); }
  ;

encoding:
    tok_ContentTransferEncoding mechanism /* 207 */ { $$ = std::move($2); }
  | tok_ContentTransferEncoding           /* 208 */ { $$ = HeaderValue::integer(0); }
  ;

epilogue:
    discard_text /* 209 */ { $$.Reset(); }
  ;

preamble:
    discard_text /* 210 */ { $$.Reset(); }
  ;

extension_token:
    x_token    /* 211 */
  | iana_token /* 212 */
  ;

/* ---- parameters ------------------------------------------------------------------------------ */

external_token:
    tok_AccessType atype         /* 213 */ { $$ = act.parameter("access", $2); }
  | tok_Expiration date_time     /* 214 */ { $$ = act.parameter("expiration", $2); }
  | tok_Size value               /* 215 */ { $$ = act.parameter("size", $2); }
  | tok_Permission tok_Read      /* 216 */ { $$ = act.permission(0); }
  | tok_Permission tok_ReadWrite /* 217 */ { $$ = act.permission(1); }
  | tok_Name value               /* 218 */ { $$ = act.parameter("name", $2); }
  | tok_Site value               /* 219 */ { $$ = act.parameter("site", $2); }
  | tok_Dir value                /* 220 */ { $$ = act.parameter("dir", $2); }
  | tok_Mode value               /* 221 */ { $$ = act.parameter("mode", $2); }
  | tok_Server value             /* 222 */ { $$ = act.parameter("server", $2); }
  | tok_SubjectParam value       /* 223 */ { $$ = act.parameter("subject", $2); }
  | tok_Charset charset          /* 224 */ { $$ = act.charset($2); }
  | tok_Type value               /* 225 */ { $$ = act.parameter("type", $2); }
  | tok_Padding value            /* 226 */ { $$ = act.parameter("padding", $2); }
  | tok_Boundary boundary        /* 227 */ { $$ = act.boundary($2); }
  | tok_Boundary value           /* 228 */ { $$ = act.boundary($2); }
  | tok_Id value                 /* 229 */ { $$ = act.parameter("id", $2); }
  | tok_Number value             /* 230 */ { $$ = act.parameter("number", $2); }
  | tok_Total value              /* 231 */ { $$ = act.parameter("total", $2); }
  | extension_token '=' value    /* 232 */ { $$ = act.named_parameter(take($$, $1), $3); }
  | extension_token '='          /* 233 */ { $$ = act.named_parameter(take($$, $1)); }
  | extension_token ':' value    /* 234 */ { $$ = act.named_parameter(take($$, $1), $3); }
  | extension_token ':'          /* 235 */ { $$ = act.named_parameter(take($$, $1)); }
  | tok_AccessType               /* 236 */ { $$.Reset(); }
  | tok_Expiration               /* 237 */ { $$.Reset(); }
  | tok_Size                     /* 238 */ { $$.Reset(); }
  | tok_Permission               /* 239 */ { $$.Reset(); }
  | tok_Name                     /* 240 */ { $$.Reset(); }
  | tok_Site                     /* 241 */ { $$.Reset(); }
  | tok_Dir                      /* 242 */ { $$.Reset(); }
  | tok_Mode                     /* 243 */ { $$.Reset(); }
  | tok_Server                   /* 244 */ { $$.Reset(); }
  | tok_SubjectParam             /* 245 */ { $$.Reset(); }
  | tok_Charset                  /* 246 */ { $$.Reset(); }
  | tok_Type                     /* 247 */ { $$.Reset(); }
  | tok_Padding                  /* 248 */ { $$.Reset(); }
  | tok_Id                       /* 249 */ { $$.Reset(); }
  | tok_Number                   /* 250 */ { $$.Reset(); }
  | tok_Total                    /* 251 */ { $$.Reset(); }
  | extension_token              /* 252 */ { $$.Reset(); }
  ;

external_param:
    ';' external_token /* 253 */ { $$ = std::move($2); }
  | ';'                /* 254 */ { $$.Reset(); }
  ;

external_params:
    external_param                 /* 255 */ { $$ = act.first_entry(take($$, $1)); }
  | external_params external_param /* 256 */ { $$ = act.append(take($$, $1), $2); }
  ;

iana_token:
    token /* 257 */
  ;

/* ---- identification and disposition ---------------------------------------------------------- */

content_id:
    tok_ContentID msg_id     /* 258 */ { $$ = std::move($2); }
  | tok_ContentID textstream /* 259 */ { $$ = std::move($2); }
  | tok_ContentID            /* 260 */ { $$.Reset(); }
  ;

content_dispval:
    extension_token                 /* 261 */ { $$ = HeaderValue::list(take($$, $1)); }
  | extension_token external_params /* 262 */ { $$ = HeaderValue::list(take($$, $1), std::move($2)); }
  ;

content_disposition:
    tok_ContentDisposition                  /* 263 */ { $$ = HeaderValue::list(); }
  | tok_ContentDisposition tok_FIELDCONTENT /* 264 */ { $$ = std::move($2); }
  | tok_ContentDisposition content_dispval  /* 265 */ { $$ = std::move($2); }
  ;

/* ---- transfer encodings ---------------------------------------------------------------------- */

mechanism:
    mechanisms           /* 266 */
  | mechanism mechanisms /* 267 */
  ;

mechanisms:
    tok_7bit             /* 268 */ { $$ = HeaderValue::integer(0); }
  | tok_quoted_printable /* 269 */ { $$ = HeaderValue::integer(1); }
  | tok_base64           /* 270 */ { $$ = HeaderValue::integer(2); }
  | tok_8bit             /* 271 */ { $$ = HeaderValue::integer(3); }
  | tok_binary           /* 272 */ { $$ = HeaderValue::integer(4); }
  | split_value          /* 273 */
  ;

/* ---- multipart bodies ------------------------------------------------------------------------ */

multipart_intro:
    tok_BEGIN_MULTIPART_BODY preamble /* 274 */
  | tok_BEGIN_MULTIPART_BODY          /* 275 */
  ;

multipart_outro:
    close_delimiter epilogue /* 276 */
  | close_delimiter          /* 277 */
  ;

multipart_body:
    multipart_intro encapsulations multipart_outro /* 278 */ { $$ = std::move($2); }
  ;

/* ---- content types --------------------------------------------------------------------------- */

multipart_subtype:
    tok_mixed       /* 279 */ { $$ = HeaderValue::integer(0); }
  | tok_parallel    /* 280 */ { $$ = HeaderValue::integer(1); }
  | tok_digest      /* 281 */ { $$ = HeaderValue::integer(2); }
  | tok_alternative /* 282 */ { $$ = HeaderValue::integer(3); }
  | extension_token /* 283 */
  ;

multipart_type_intro:
    tok_Multipart '/' multipart_subtype /* 284 */ { $$ = std::move($3); }
  | tok_Multipart '/'                   /* 285 */ { $$ = HeaderValue::integer(0); }
  | tok_Multipart                       /* 286 */ { $$ = HeaderValue::integer(0); }
  ;

multipart_type:
    multipart_type_intro external_params /* 287 */ { $$ = act.multipart_type(take($$, $1), $2); }
  ;

text_subtype:
    tok_Plain /* 288 */ { $$ = HeaderValue::integer(0); }
  | tok_Html  /* 289 */ { $$ = HeaderValue::integer(1); }
  ;

text_type:
    tok_Text '/' text_subtype     /* 290 */ { $$ = act.type(Major::Text, $3); }
  | tok_Text '/' extension_token  /* 291 */ { $$ = act.type(Major::Text, $3); }
  | text_subtype '/' tok_Text     /* 292 */ { $$ = act.type(Major::Text, take($$, $1)); }
  | text_subtype '/' text_subtype /* 293 */ { $$ = act.type(Major::Text, $3); }
  | tok_Text '/' tok_Text         /* 294 */ { $$ = act.type(Major::Text); }
  | tok_Text '/'                  /* 295 */ { $$ = act.type(Major::Text); }
  | tok_Text                      /* 296 */ { $$ = act.type(Major::Text); }
  | text_subtype '/'              /* 297 */ { $$ = act.type(Major::Text, take($$, $1)); }
  | text_subtype                  /* 298 */ { $$ = act.type(Major::Text, take($$, $1)); }
  ;

image_subtype:
    tok_Gif  /* 299 */ { $$ = HeaderValue::integer(0); }
  | tok_Jpeg /* 300 */ { $$ = HeaderValue::integer(1); }
  ;

image_type:
    tok_Image '/' image_subtype     /* 301 */ { $$ = act.type(Major::Image, $3); }
  | tok_Image '/' extension_token   /* 302 */ { $$ = act.type(Major::Image, $3); }
  | image_subtype '/' tok_Image     /* 303 */ { $$ = act.type(Major::Image, take($$, $1)); }
  | image_subtype '/' image_subtype /* 304 */ { $$ = act.type(Major::Image, $3); }
  | tok_Image '/' tok_Image         /* 305 */ { $$ = act.type(Major::Image); }
  | tok_Image '/'                   /* 306 */ { $$ = act.type(Major::Image); }
  | tok_Image                       /* 307 */ { $$ = act.type(Major::Image); }
  | image_subtype '/'               /* 308 */ { $$ = act.type(Major::Image, take($$, $1)); }
  | image_subtype                   /* 309 */ { $$ = act.type(Major::Image, take($$, $1)); }
  ;

application_subtype:
    tok_OctetStream /* 310 */ { $$ = HeaderValue::integer(0); }
  | tok_Postscript  /* 311 */ { $$ = HeaderValue::integer(1); }
  ;

application_type:
    tok_Application '/' application_subtype     /* 312 */ { $$ = act.type(Major::Application, $3); }
  | tok_Application '/' extension_token         /* 313 */ { $$ = act.type(Major::Application, $3); }
  | application_subtype '/' tok_Application     /* 314 */ { $$ = act.type(Major::Application, take($$, $1)); }
  | application_subtype '/' application_subtype /* 315 */ { $$ = act.type(Major::Application, $3); }
  | tok_Application '/' tok_Application         /* 316 */ { $$ = act.type(Major::Application); }
  | tok_Application '/'                         /* 317 */ { $$ = act.type(Major::Application); }
  | tok_Application                             /* 318 */ { $$ = act.type(Major::Application); }
  | application_subtype '/'                     /* 319 */ { $$ = act.type(Major::Application, take($$, $1)); }
  | application_subtype                         /* 320 */ { $$ = act.type(Major::Application, take($$, $1)); }
  ;

audio_subtype:
    tok_Basic /* 321 */ { $$ = HeaderValue::integer(0); }
  ;

audio_type:
    tok_Audio '/' audio_subtype     /* 322 */ { $$ = act.type(Major::Audio, $3); }
  | tok_Audio '/' extension_token   /* 323 */ { $$ = act.type(Major::Audio, $3); }
  | audio_subtype '/' tok_Audio     /* 324 */ { $$ = act.type(Major::Audio, take($$, $1)); }
  | audio_subtype '/' audio_subtype /* 325 */ { $$ = act.type(Major::Audio, $3); }
  | tok_Audio '/' tok_Audio         /* 326 */ { $$ = act.type(Major::Audio); }
  | tok_Audio '/'                   /* 327 */ { $$ = act.type(Major::Audio); }
  | tok_Audio                       /* 328 */ { $$ = act.type(Major::Audio); }
  | audio_subtype '/'               /* 329 */ { $$ = act.type(Major::Audio, take($$, $1)); }
  | audio_subtype                   /* 330 */ { $$ = act.type(Major::Audio, take($$, $1)); }
  ;

video_subtype:
    tok_mpeg /* 331 */ { $$ = HeaderValue::integer(0); }
  ;

video_type:
    tok_Video '/' video_subtype     /* 332 */ { $$ = act.type(Major::Video, $3); }
  | tok_Video '/' extension_token   /* 333 */ { $$ = act.type(Major::Video, $3); }
  | video_subtype '/' tok_Video     /* 334 */ { $$ = act.type(Major::Video, take($$, $1)); }
  | video_subtype '/' video_subtype /* 335 */ { $$ = act.type(Major::Video, $3); }
  | tok_Video '/' tok_Video         /* 336 */ { $$ = act.type(Major::Video); }
  | tok_Video '/'                   /* 337 */ { $$ = act.type(Major::Video); }
  | tok_Video                       /* 338 */ { $$ = act.type(Major::Video); }
  | video_subtype '/'               /* 339 */ { $$ = act.type(Major::Video, take($$, $1)); }
  | video_subtype                   /* 340 */ { $$ = act.type(Major::Video, take($$, $1)); }
  ;

message_subtype:
    tok_rfc822        /* 341 */ { $$ = HeaderValue::integer(0); }
  | tok_partial       /* 342 */ { $$ = HeaderValue::integer(1); }
  | tok_external_body /* 343 */ { $$ = HeaderValue::integer(2); }
  ;

message_type:
    tok_Message '/' message_subtype     /* 344 */ { $$ = act.type(Major::Message, $3); }
  | tok_Message '/' extension_token     /* 345 */ { $$ = act.type(Major::Message, $3); }
  | message_subtype '/' tok_Message     /* 346 */ { $$ = act.type(Major::Message, take($$, $1)); }
  | message_subtype '/' message_subtype /* 347 */ { $$ = act.type(Major::Message, $3); }
  | tok_Message '/' tok_Message         /* 348 */ { $$ = act.type(Major::Message); }
  | tok_Message '/'                     /* 349 */ { $$ = act.type(Major::Message); }
  | tok_Message                         /* 350 */ { $$ = act.type(Major::Message); }
  | message_subtype '/'                 /* 351 */ { $$ = act.type(Major::Message, take($$, $1)); }
  | message_subtype                     /* 352 */ { $$ = act.type(Major::Message, take($$, $1)); }
  ;

straight_type:
    text_type        /* 353 */
  | image_type       /* 354 */
  | application_type /* 355 */
  | audio_type       /* 356 */
  | video_type       /* 357 */
  | message_type     /* 358 */
  ;

straight_type_with_params:
    straight_type                 /* 359 */
  | straight_type external_params /* 360 */ { $$ = act.append(take($$, $1), $2); }
  ;

/* ---- types without a name of their own ------------------------------------------------------- */

unknown_subtype:
    tok_Application   /* 361 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Audio         /* 362 */ { $$ = HeaderValue::text("audio"); }
  | tok_Image         /* 363 */ { $$ = HeaderValue::text("image"); }
  | tok_Message       /* 364 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Text          /* 365 */ { $$ = HeaderValue::text("text"); }
  | tok_Video         /* 366 */ { $$ = HeaderValue::text("video"); }
  | tok_mixed         /* 367 */ { $$ = HeaderValue::text("unknown"); }
  | tok_parallel      /* 368 */ { $$ = HeaderValue::text("unknown"); }
  | tok_digest        /* 369 */ { $$ = HeaderValue::text("unknown"); }
  | tok_alternative   /* 370 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Plain         /* 371 */ { $$ = HeaderValue::text("plain"); }
  | tok_Charset       /* 372 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Gif           /* 373 */ { $$ = HeaderValue::text("gif"); }
  | tok_Jpeg          /* 374 */ { $$ = HeaderValue::text("jpeg"); }
  | tok_mpeg          /* 375 */ { $$ = HeaderValue::text("mpeg"); }
  | tok_AccessType    /* 376 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Expiration    /* 377 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Size          /* 378 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Permission    /* 379 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Name          /* 380 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Site          /* 381 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Dir           /* 382 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Mode          /* 383 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Server        /* 384 */ { $$ = HeaderValue::text("unknown"); }
  | tok_SubjectParam  /* 385 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Read          /* 386 */ { $$ = HeaderValue::text("unknown"); }
  | tok_ReadWrite     /* 387 */ { $$ = HeaderValue::text("unknown"); }
  | tok_OctetStream   /* 388 */ { $$ = HeaderValue::text("OctetStream"); }
  | tok_Postscript    /* 389 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Type          /* 390 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Padding       /* 391 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Basic         /* 392 */ { $$ = HeaderValue::text("basic"); }
  | tok_rfc822        /* 393 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Html          /* 394 */ { $$ = HeaderValue::text("html"); }
  | tok_partial       /* 395 */ { $$ = HeaderValue::text("unknown"); }
  | tok_external_body /* 396 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Id            /* 397 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Number        /* 398 */ { $$ = HeaderValue::text("unknown"); }
  | tok_Total         /* 399 */ { $$ = HeaderValue::text("unknown"); }
  | extension_token   /* 400 */
  ;

unknown_type:
    extension_token '/' unknown_subtype /* 401 */ { $$ = HeaderValue::list(take($$, $1), std::move($3)); }
  | extension_token '/'                 /* 402 */ { $$ = HeaderValue::list(take($$, $1), HeaderValue::text("unknown")); }
  | extension_token                     /* 403 */ { $$ = HeaderValue::list(take($$, $1), HeaderValue::text("unknown")); }
  ;

unknown_type_with_params:
    unknown_type                 /* 404 */
  | unknown_type external_params /* 405 */ { $$ = act.append(take($$, $1), $2); }
  ;

mime_type:
    multipart_type            /* 406 */
  | straight_type_with_params /* 407 */
  | unknown_type_with_params  /* 408 */
  ;

/* ---- parameter values ------------------------------------------------------------------------ */

token:
    tok_TOKEN /* 409 */
  ;

value:
    split_value       /* 410 */
  | value split_value /* 411 */ { $$ = act.append(take($$, $1), $2); }
  ;

split_value:
    x_token           /* 412 */
  | token             /* 413 */
  | tok_QUOTED_STRING /* 414 */
  | tok_Application   /* 415 */ { $$ = HeaderValue::text("application"); }
  | tok_Audio         /* 416 */ { $$ = HeaderValue::text("audio"); }
  | tok_Image         /* 417 */ { $$ = HeaderValue::text("image"); }
  | tok_Message       /* 418 */ { $$ = HeaderValue::text("message"); }
  | tok_Multipart     /* 419 */ { $$ = HeaderValue::text("multipart"); }
  | tok_Text          /* 420 */ { $$ = HeaderValue::text("text"); }
  | tok_Video         /* 421 */ { $$ = HeaderValue::text("video"); }
  | tok_mixed         /* 422 */ { $$ = HeaderValue::text("mixed"); }
  | tok_parallel      /* 423 */ { $$ = HeaderValue::text("parallel"); }
  | tok_digest        /* 424 */ { $$ = HeaderValue::text("digest"); }
  | tok_alternative   /* 425 */ { $$ = HeaderValue::text("alternative"); }
  | tok_Plain         /* 426 */ { $$ = HeaderValue::text("plain"); }
  | tok_Gif           /* 427 */ { $$ = HeaderValue::text("gif"); }
  | tok_Jpeg          /* 428 */ { $$ = HeaderValue::text("jpeg"); }
  | tok_mpeg          /* 429 */ { $$ = HeaderValue::text("mpeg"); }
  | tok_Read          /* 430 */ { $$ = HeaderValue::text("read"); }
  | tok_ReadWrite     /* 431 */ { $$ = HeaderValue::text("read-write"); }
  | tok_OctetStream   /* 432 */ { $$ = HeaderValue::text("octet-stream"); }
  | tok_Postscript    /* 433 */ { $$ = HeaderValue::text("postscript"); }
  | tok_Basic         /* 434 */ { $$ = HeaderValue::text("basic"); }
  | tok_rfc822        /* 435 */ { $$ = HeaderValue::text("rfc822"); }
  | tok_Html          /* 436 */ { $$ = HeaderValue::text("html"); }
  | tok_partial       /* 437 */ { $$ = HeaderValue::text("partial"); }
  | tok_external_body /* 438 */ { $$ = HeaderValue::text("external-body"); }
  | '/'               /* 439 */ { $$ = HeaderValue::text("/"); }
  | '='               /* 440 */ { $$ = HeaderValue::text("="); }
  | ','               /* 441 */ { $$ = HeaderValue::text(","); }
  | tok_Invalid       /* 442 */
  ;

x_token:
    tok_XTOKEN /* 443 */
  ;

%%

namespace tallowbrook {

// "parse error" and, where the state expects fewer than five tokens by name, what it expects; then
// the text of the token that did not fit.
void GrammarParser::report_syntax_error(const context& yyctx) const {
  constexpr int kMost = 4;
  symbol_kind_type expected[kMost];
  const int count = yyctx.expected_tokens(expected, kMost);
  std::string text = "parse error";
  for (int i = 0; i < count; ++i) {
    text.append(i == 0 ? ", expecting `" : " or `").append(symbol_name(expected[i])).append("'");
  }
  act.syntax_error(text + " \"" + yyctx.lookahead().value.AsText() + "\"", scanner.line());
}

// Reached only through report_syntax_error's default, which this grammar replaces.
void GrammarParser::error(const std::string& text) { act.syntax_error(text, scanner.line()); }

}  // namespace tallowbrook
