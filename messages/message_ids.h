#ifndef VTCLASS_MESSAGES_MESSAGE_IDS_H
#define VTCLASS_MESSAGES_MESSAGE_IDS_H

/*
 * The ids of the message library vterrors, in ranges by subject. These are macros because the
 * resource compiler reads this file too. An id is at most 65535, the limit of string tables. It
 * names the same message in every release; an id that is given up is not used again: those that are
 * left out below, and behind the ends of their ranges 2021 to 2025, 6012 and 6013.
 *
 * Each text is a format of the wide msvcrt printf: %s takes a const wchar_t*, %u an unsigned.
 * Numbers that need grouping or units come as text. The English texts in vterrors_en.rc show the
 * arguments and their order, which is the same in every language.
 *
 * Warnings are 4000 to 4999, errors 5000 to 5999: message_table.cmake makes the message tables by
 * these ranges and in the order in which the ids stand here, which is ascending.
 */

/* Header of the job log. */
#define MSG_LANGUAGE_NAME 1001
#define MSG_JOB_SERVER 1002
#define MSG_JOB_NAME 1003
#define MSG_JOB_TYPE 1004
#define MSG_JOB_TYPE_BACKUP 1005
#define MSG_JOB_STARTED 1006
#define MSG_JOB_LOG_FILE 1007
#define MSG_JOB_LANGUAGE 1008
#define MSG_AGENT_PLATFORM 1012
#define MSG_LOG_SPACE_LOW 1013

/* Settings. */
#define MSG_SETTINGS_READ 1101
#define MSG_SETTING 1102
#define MSG_SETTING_DEFAULT_WRITTEN 1103
#define MSG_SETTING_CREDENTIAL 1104
#define MSG_ACCOUNT_NOT_NAMED 1105

/* Set. */
#define MSG_SET_NUMBER 2001
#define MSG_BACKUP_METHOD 2004
#define MSG_METHOD_COPY 2008
#define MSG_VOLUME_NAME 2009
#define MSG_ROOT_FOLDER 2010
#define MSG_DESTINATION 2016
#define MSG_DESTINATION_DRY_RUN 2017
#define MSG_DESTINATION_DISCARDED 2018
#define MSG_SET_STARTED 2019
#define MSG_SET_ENDED 2020
#define MSG_MOUNTED_VOLUMES_READ 2026
#define MSG_FREE_SPACE_BEFORE 2027
#define MSG_FREE_SPACE_AFTER 2028
#define MSG_READ_AS 2029
#define MSG_ONLY_THESE_READ 2030
#define MSG_THESE_LEFT_OUT 2031

/* Folders and files. */
#define MSG_DIRECTORY 3002
#define MSG_FILE_WITH_SIZE 3004
#define MSG_MOUNT_POINT_FOLLOWED 3005

/* Warnings. message_codes.h holds their unique message identifiers. */
#define MSG_ACCESS_DENIED 4001
#define MSG_FILE_IN_USE 4002
#define MSG_FILE_DISAPPEARED 4003
#define MSG_FILE_CHANGED 4004
#define MSG_FILE_PARTLY_READ 4005
#define MSG_LINK_NOT_FOLLOWED 4006
#define MSG_MOUNT_POINT_NOT_FOLLOWED 4007
#define MSG_PATH_TOO_LONG 4009
#define MSG_PLACEHOLDER_SKIPPED 4011
#define MSG_ROOT_EMPTY 4012
#define MSG_SETTING_OUT_OF_RANGE 4013
#define MSG_SETTINGS_UNREADABLE 4014
#define MSG_LANGUAGE_MISSING 4015
#define MSG_VOLUME_CYCLE 4016
#define MSG_CREDENTIAL_NOT_SEALED 4017
#define MSG_CREDENTIAL_NOT_OPENED 4018

/* Errors. message_codes.h holds their unique message identifiers. */
#define MSG_FILE_OPEN_FAILED 5001
#define MSG_FILE_READ_FAILED 5002
#define MSG_FILE_CORRUPT 5003
#define MSG_ATTRIBUTES_FAILED 5004
#define MSG_FOLDER_LIST_FAILED 5005
#define MSG_FOLDER_LIST_INTERRUPTED 5006
#define MSG_ROOT_NOT_FOUND 5007
#define MSG_ROOT_NOT_A_FOLDER 5008
#define MSG_JOB_CANCELLED_BY 5011
#define MSG_JOB_LOG_WRITE_FAILED 5013

/* Totals. */
#define MSG_TOTAL_FILES 6001
#define MSG_TOTAL_DIRECTORIES 6002
#define MSG_TOTAL_BYTES 6003
#define MSG_TOTAL_SKIPPED 6004
#define MSG_TOTAL_WARNINGS 6007
#define MSG_TOTAL_ERRORS 6008
#define MSG_THROUGHPUT_PER_SECOND 6010
#define MSG_ELAPSED_TIME 6011
#define MSG_TOTAL_EXCLUDED 6014

/* Sections that are collected and written at the end. */
#define MSG_SKIPPED_SUMMARY 6101
#define MSG_LARGE_FILES_SUMMARY 6103
#define MSG_LARGE_FILE_LINE 6104
#define MSG_EXTENSIONS_SUMMARY 6105
#define MSG_EXTENSION_LINE 6106
#define MSG_NO_EXTENSION 6107
#define MSG_MORE_ENTRIES 6108

/* End of the job. */
#define MSG_JOB_ENDED 7001
#define MSG_JOB_STATUS 7002
#define MSG_STATUS_SUCCESSFUL 7003
#define MSG_STATUS_EXCEPTIONS 7004
#define MSG_STATUS_FAILED 7005
#define MSG_STATUS_CANCELLED 7006
#define MSG_ERROR_CATEGORY 7007
#define MSG_CATEGORY_NONE 7008
#define MSG_CATEGORY_RESOURCE 7009
#define MSG_CATEGORY_SECURITY 7010
#define MSG_CATEGORY_DATA 7011
#define MSG_CATEGORY_JOB 7012

/* Labels of a report of the log. */
#define MSG_LABEL_SETTINGS 8002
#define MSG_LABEL_WARNINGS 8005
#define MSG_LABEL_ERRORS 8006
#define MSG_LABEL_SUMMARY 8007

#endif
