#include "common/Strings.h"

#include <QCoreApplication>

namespace Strings {

namespace {

struct Entry
{
    int id;
    const char* text;
};

const Entry kEntries[] = {
    // Application and document
    {IDS_DOCUMENT_TEMPLATE,
     QT_TRANSLATE_NOOP("Strings", "Shelfwise\n\nShelfwise\nDatabase Files(*.db3)\n.db3\n"
                                  "Shelfwise.Document\nShelfwise.Document")},
    {IDS_ABOUT_VERSION, QT_TRANSLATE_NOOP("Strings", "Shelfwise version %s")},
    {IDS_OPEN_SAMPLE_QUESTION,
     QT_TRANSLATE_NOOP("Strings",
                       "Your list of databases is empty. Would you like to open sample database?")},
    {IDS_COMPRESS_QUESTION,
     QT_TRANSLATE_NOOP(
         "Strings",
         "Database compression is needed only after you delete large volumes of information "
         "from database.\nWould you like to proceed?")},
    {IDS_DELETE_QUESTION, QT_TRANSLATE_NOOP("Strings", "Would you really like to delete %s ?")},
    {IDS_UPGRADE_QUESTION,
     QT_TRANSLATE_NOOP("Strings", "Selected database was created by old version of the program. "
                                  "Would you like to update it?")},
    {IDS_BACKUP_FAILED_CONTINUE,
     QT_TRANSLATE_NOOP("Strings",
                       "Error occured during backup process. Would you like to continue backup?")},

    // Catalogue access and the error log
    {IDS_DATABASE_INACCESSIBLE, QT_TRANSLATE_NOOP("Strings", "Database is inaccessible")},
    {IDS_NOT_A_CATALOGUE, QT_TRANSLATE_NOOP("Strings", "Database file can't be opened.")},

    // Navigation tree, details list and properties: names and menus
    {IDS_CREATE_STORAGE_FIRST, QT_TRANSLATE_NOOP("Strings", "You should create storage first")},
    {IDS_STORAGE_NAME_EMPTY, QT_TRANSLATE_NOOP("Strings", "Please set storage name.")},
    {IDS_STORAGE_NAME_EXISTS,
     QT_TRANSLATE_NOOP("Strings",
                       "Storage with name \"%s\" is already exists. Please choose another name.")},
    {IDS_UNIT_NAME_EMPTY, QT_TRANSLATE_NOOP("Strings", "Please set disc name.")},
    {IDS_CHANGE_CATEGORY_MENU, QT_TRANSLATE_NOOP("Strings", "Change category")},
    {IDS_CHANGE_EXTENSION_CATEGORY_QUESTION,
     QT_TRANSLATE_NOOP("Strings",
                       "Would you like to change category for all files with the same extension?")},

    // Byte sizes as text
    {IDS_SIZE_FORMAT_BYTES, QT_TRANSLATE_NOOP("Strings", "%d bytes")},
    {IDS_SIZE_FORMAT_GB, QT_TRANSLATE_NOOP("Strings", "%0.2f GB")},
    {IDS_SIZE_FORMAT_MB, QT_TRANSLATE_NOOP("Strings", "%0.2f MB")},
    {IDS_SIZE_FORMAT_KB, QT_TRANSLATE_NOOP("Strings", "%0.2f KB")},

    // Properties dialog tab titles
    {IDS_TAB_STORAGE_INFO, QT_TRANSLATE_NOOP("Strings", "Storage Info")},
    {IDS_TAB_FILM_INFO, QT_TRANSLATE_NOOP("Strings", "Film Info")},
    {IDS_TAB_AUDIO_INFO, QT_TRANSLATE_NOOP("Strings", "Audio Info")},
    {IDS_TAB_PICTURE_INFO, QT_TRANSLATE_NOOP("Strings", "Picture Info")},
    {IDS_TAB_FILE_INFO, QT_TRANSLATE_NOOP("Strings", "File Info")},
    {IDS_TAB_FOLDER_INFO, QT_TRANSLATE_NOOP("Strings", "Folder Info")},
    {IDS_TAB_DISC_INFO, QT_TRANSLATE_NOOP("Strings", "Disc Info")},

    // Search dialog and results
    {IDS_COLUMN_NAME, QT_TRANSLATE_NOOP("Strings", "Name")},
    {IDS_COLUMN_CATEGORY, QT_TRANSLATE_NOOP("Strings", "Category")},
    {IDS_COLUMN_SIZE, QT_TRANSLATE_NOOP("Strings", "Size")},
    {IDS_COLUMN_TYPE, QT_TRANSLATE_NOOP("Strings", "Type")},
    {IDS_SIZE_UNIT_BYTES, QT_TRANSLATE_NOOP("Strings", "Bytes")},
    {IDS_SIZE_UNIT_KBYTES, QT_TRANSLATE_NOOP("Strings", "KBytes")},
    {IDS_SIZE_UNIT_MBYTES, QT_TRANSLATE_NOOP("Strings", "MBytes")},
    {IDS_SIZE_UNIT_GBYTES, QT_TRANSLATE_NOOP("Strings", "GBytes")},
    {IDS_DATE_FIELD_ADDED, QT_TRANSLATE_NOOP("Strings", "Added")},
    {IDS_DATE_FIELD_CREATED, QT_TRANSLATE_NOOP("Strings", "Created")},
    {IDS_DATE_FIELD_MODIFIED, QT_TRANSLATE_NOOP("Strings", "Modified")},
    {IDS_NO_MATCHES, QT_TRANSLATE_NOOP("Strings", "No matches found. Try another search.")},

    // Options dialog tab titles
    {IDS_TAB_GENERAL, QT_TRANSLATE_NOOP("Strings", "General")},
    {IDS_TAB_CATEGORIES, QT_TRANSLATE_NOOP("Strings", "Categories")},
    {IDS_TAB_DUPLICATES, QT_TRANSLATE_NOOP("Strings", "Duplicates")},
    {IDS_TAB_BACKUP, QT_TRANSLATE_NOOP("Strings", "Backup")},

    // Categories and file extensions
    {IDS_EXTENSION_ALREADY_ASSOCIATED,
     QT_TRANSLATE_NOOP("Strings", "Extension %s is already associated with category %s")},
    {IDS_DELETE_EXTENSION_QUESTION,
     QT_TRANSLATE_NOOP("Strings", "Would you really like to delete this extension?")},
    {IDS_CATEGORY_EXISTS, QT_TRANSLATE_NOOP("Strings", "Category %s already exists")},
    {IDS_DELETE_CATEGORY_QUESTION,
     QT_TRANSLATE_NOOP("Strings", "Would you really like to delete this category?")},
    {IDS_DROP_EXTENSION_CATEGORY_QUESTION,
     QT_TRANSLATE_NOOP(
         "Strings",
         "Would you like to cancel association of existing *.%s files with %s category?")},

    // HTML report and other long operations
    {IDS_OPERATION_FAILED, QT_TRANSLATE_NOOP("Strings", "Operation has been failed")},
    {IDS_OPERATION_CANCELLED, QT_TRANSLATE_NOOP("Strings", "Operation has been cancelled")},
    {IDS_DISC_ABSENT, QT_TRANSLATE_NOOP("Strings", "Disc is absent or invalid")},
    {IDS_ENTER_DISC_NAME, QT_TRANSLATE_NOOP("Strings", "Enter name of disc first")},
    {IDS_SELECT_PATH_FIRST, QT_TRANSLATE_NOOP("Strings", "Select path first")},
    {IDS_PATH_DOES_NOT_EXIST, QT_TRANSLATE_NOOP("Strings", "Entered path doesn't exist.")},
    {IDS_ADD_FILE_FAILED, QT_TRANSLATE_NOOP("Strings", "Add file operation has been failed")},
    {IDS_DUPLICATE_DISC,
     QT_TRANSLATE_NOOP("Strings", "Disc probably already exists in the collection:")},
    {IDS_FILE_SYSTEM_ERRORS,
     QT_TRANSLATE_NOOP("Strings", "Some errors have occured during selected path processing. Here "
                                  "is the list of problems:")},
    {IDS_SAVE_FAILED,
     QT_TRANSLATE_NOOP("Strings", "The catalogue \"%s\" could not be written; it is unchanged.\n"
                                  "Your changes are kept in \"%s\".")},
    {IDS_FILE_NOT_WRITTEN,
     QT_TRANSLATE_NOOP("Strings", "The catalogue \"%s\" could not be written.")},
    {IDS_COLUMN_MODIFIED, QT_TRANSLATE_NOOP("Strings", "Modified")},
    {IDS_ALL, QT_TRANSLATE_NOOP("Strings", "All")},
    {IDS_KIND_STORAGE, QT_TRANSLATE_NOOP("Strings", "Storage")},
    {IDS_KIND_DISC, QT_TRANSLATE_NOOP("Strings", "Disc")},
    {IDS_KIND_FOLDER, QT_TRANSLATE_NOOP("Strings", "Folder")},
    {IDS_KIND_FILE, QT_TRANSLATE_NOOP("Strings", "File")},
    {IDS_REPORT_COLUMN_ADDED, QT_TRANSLATE_NOOP("Strings", "Added")},
    {IDS_REPORT_TITLE, QT_TRANSLATE_NOOP("Strings", "Report for %s")},
    {IDS_REPORT_FOOTER,
     QT_TRANSLATE_NOOP("Strings", "Created with Shelfwise, the cataloguer of removable discs.")},
};

} // namespace

QString LoadString(int id)
{
    for (const Entry& e : kEntries) {
        if (e.id == id)
            return QCoreApplication::translate("Strings", e.text);
    }
    return QString();
}

} // namespace Strings
