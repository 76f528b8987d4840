#pragma once

#include <QString>

// User-visible texts by id. The ids keep their historic numbers so that every place
// that shows a message names it the same way; the texts go through tr() so the
// program can be translated.
namespace Strings {

enum Id : int {
    // Application and document
    IDS_DOCUMENT_TEMPLATE = 128, // window title, document name, filter, extension, type id
    IDS_ABOUT_VERSION = 169,
    IDS_OPEN_SAMPLE_QUESTION = 207,
    IDS_COMPRESS_QUESTION = 135,
    IDS_DELETE_QUESTION = 138,
    IDS_UPGRADE_QUESTION = 154,
    IDS_BACKUP_FAILED_CONTINUE = 205,

    // Catalogue access and the error log
    IDS_DATABASE_INACCESSIBLE = 150,
    IDS_NOT_A_CATALOGUE = 197,

    // Navigation tree, details list and properties: names and menus
    IDS_CREATE_STORAGE_FIRST = 140,
    IDS_STORAGE_NAME_EMPTY = 170,
    IDS_STORAGE_NAME_EXISTS = 171,
    IDS_UNIT_NAME_EMPTY = 180,
    IDS_CHANGE_CATEGORY_MENU = 176,
    IDS_CHANGE_EXTENSION_CATEGORY_QUESTION = 177,

    // Byte sizes as text (FormatSize)
    IDS_SIZE_FORMAT_BYTES = 166,
    IDS_SIZE_FORMAT_GB = 147,
    IDS_SIZE_FORMAT_MB = 148,
    IDS_SIZE_FORMAT_KB = 149,

    // Properties dialog tab titles
    IDS_TAB_STORAGE_INFO = 158,
    IDS_TAB_FILM_INFO = 159,
    IDS_TAB_AUDIO_INFO = 160,
    IDS_TAB_PICTURE_INFO = 161,
    IDS_TAB_FILE_INFO = 162,
    IDS_TAB_FOLDER_INFO = 163,
    IDS_TAB_DISC_INFO = 164,

    // Search dialog and results; the first four column names serve the report too
    IDS_COLUMN_NAME = 139,
    IDS_COLUMN_CATEGORY = 141,
    IDS_COLUMN_SIZE = 142,
    IDS_COLUMN_TYPE = 143,
    IDS_SIZE_UNIT_BYTES = 144,
    IDS_SIZE_UNIT_KBYTES = 145,
    IDS_SIZE_UNIT_MBYTES = 146,
    IDS_SIZE_UNIT_GBYTES = 173,
    IDS_DATE_FIELD_ADDED = 193,
    IDS_DATE_FIELD_CREATED = 194,
    IDS_DATE_FIELD_MODIFIED = 195,
    IDS_NO_MATCHES = 208,

    // Options dialog tab titles
    IDS_TAB_GENERAL = 151,
    IDS_TAB_CATEGORIES = 152,
    IDS_TAB_DUPLICATES = 181,
    IDS_TAB_BACKUP = 204,

    // Categories and file extensions
    IDS_EXTENSION_ALREADY_ASSOCIATED = 168,
    IDS_DELETE_EXTENSION_QUESTION = 175,
    IDS_CATEGORY_EXISTS = 178,
    IDS_DELETE_CATEGORY_QUESTION = 179,
    IDS_DROP_EXTENSION_CATEGORY_QUESTION = 184,

    // HTML report and other long operations
    IDS_OPERATION_FAILED = 156,
    IDS_OPERATION_CANCELLED = 157,
    IDS_ALL = 209,
    IDS_KIND_STORAGE = 210,
    IDS_KIND_DISC = 211,
    IDS_KIND_FOLDER = 212,
    IDS_KIND_FILE = 213,
    IDS_REPORT_COLUMN_ADDED = 214,
    IDS_REPORT_TITLE = 215,
    IDS_REPORT_FOOTER = 216,

    // Adding discs, folders and files (these texts had no number of their own)
    IDS_DISC_ABSENT = 301,
    IDS_ENTER_DISC_NAME = 302,
    IDS_SELECT_PATH_FIRST = 303,
    IDS_PATH_DOES_NOT_EXIST = 304,
    IDS_ADD_FILE_FAILED = 305,
    IDS_DUPLICATE_DISC = 306,
    IDS_FILE_SYSTEM_ERRORS = 307,
    IDS_SAVE_FAILED = 308,
    IDS_FILE_NOT_WRITTEN = 309,
    IDS_COLUMN_MODIFIED = 310,
};

// The text of a string id, translated; empty for an unknown id.
QString LoadString(int id);

} // namespace Strings
