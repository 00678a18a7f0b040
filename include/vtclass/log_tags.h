#ifndef VTCLASS_LOG_TAGS_H
#define VTCLASS_LOG_TAGS_H

#include "vtclass/export.h"

/*
 * The tag catalogue of the job log: 658 opening element tags, each held by a global pointer of its
 * own. log_tag_rows.h lists them by subject.
 *
 * A tag is what LogFile's print operations wrap around the text of one entry:
 *
 *   log.printTMP(-1, kTagJobName, MSG_JOB_NAME, name);
 *   log.printerrorUMI(-1, umi, kTagWarningAccessDenied, MSG_ACCESS_DENIED, path);
 *   log.printTagWithAttribute(-1, kTagSelNotExistMailboxGroupMember, name);
 *
 * printTMP writes the tag raw, then the text, then the closing form, which printclosingtag makes
 * of the tag's element name: `<Warning Type="access_denied">` ends with `</Warning>`. To enclose
 * several entries, write the tag with printTMP(index, tag) and end it with printclosingtag.
 *
 * The library maps no message to a tag; the caller names both in each call.
 *
 * The five shapes:
 *   element         `<compression>`, or with a fixed attribute, like
 *                   `<SelNotExist sel_type="arc_sel_fs">`
 *   error           `<OperationErrors Type="comm_failure">`; the names begin with kTagError
 *   warning         `<Warning Type="access_denied">`; the names begin with kTagWarning
 *   recommandation  `<recommandations>`, `<recommandation Type="SQL objects warning">`
 *   format          kTagJobLogVersion and kTagSelNotExistMailboxGroupMember only: each holds one
 *                   %s and is a format for printTagWithAttribute or print, with a const wchar_t*
 *                   for its argument. The value is written raw, so it must be free of `&`, `<`
 *                   and `"`. kTagJobLogVersion is an empty element, which gets no closing tag;
 *                   LogFile::Open has written it already.
 *
 * Threads: the pointers and their texts are constants in read-only memory, complete before any
 * code of the library runs, and valid while the DLL is loaded. The caller owns none of them. No
 * operation belongs to them, so nothing here can fail.
 *
 * Contract: "recommandation" is the spelling of the job log's format. Readers of job logs look for
 * it, so correcting it would hide every recommendation from them.
 *
 * Contract: the pointers lie in one contiguous run, in the order of log_tag_rows.h, from
 * kTagJobLog on: pointer n of the table is (&kTagJobLog)[n], for n below kLogTagCount. Host
 * programs index the run; moving a row would give them another tag.
 */
#define VTCLASS_LOG_TAG(name, shape, text) extern VTCLASS_API const wchar_t* const name;
#include "vtclass/log_tag_rows.h"

/* How many tags the catalogue has, in each shape and in all. */
inline constexpr unsigned kLogTagElementCount = 341;
inline constexpr unsigned kLogTagErrorCount = 263;
inline constexpr unsigned kLogTagWarningCount = 43;
inline constexpr unsigned kLogTagRecommandationCount = 9;
inline constexpr unsigned kLogTagFormatCount = 2;
inline constexpr unsigned kLogTagCount = 658;

#endif
