#pragma once

// The command ids of the menus, the toolbar and the keyboard, shared by the frame and
// both panes. The numbers are the program's historic ones, so that help texts and
// the category sub-menu (35000 + CategoryID) keep meaning what they always meant.
namespace CommandIds {

constexpr int FileNew = 57600;
constexpr int FileOpen = 57601;
constexpr int FileSave = 57603;
constexpr int FileSaveAs = 57604;
constexpr int FileRecent1 = 57616; // to FileRecent1 + 3
constexpr int EditUndo = 57643;
constexpr int EditRedo = 57644;
constexpr int AppAbout = 57664;
constexpr int AppExit = 57665;
constexpr int Help = 57670;

constexpr int AddStorage = 32772;
constexpr int AddDisc = 32776;
constexpr int AddFolder = 32777;
constexpr int AddFile = 32778;
constexpr int Search = 32787;
constexpr int MoveUp = 206;
constexpr int GoBack = 32850; // through the tree's earlier selections
constexpr int GoForward = 32851;
constexpr int Compress = 32794;
constexpr int Options = 32801;
constexpr int Properties = 32797;
constexpr int Rename = 32816;
constexpr int Delete = 32817;
constexpr int Report = 32841;
constexpr int Update = 32860;         // a disc, folder or file from its source again
constexpr int DuplicateFiles = 32870; // files catalogued more than once
constexpr int UniqueFiles = 32871;    // the files of a disc or folder kept nowhere else
constexpr int Export = 32872;         // a storage, disc or folder as CSV or JSON
constexpr int ExportPage = 32873;     // the same as one self-contained HTML page
constexpr int Import = 32874;         // another cataloguer's list into a new storage
constexpr int Statistics = 32875;     // charts of the catalogue, a storage or a disc

constexpr int ViewIcons = 32834;
constexpr int ViewList = 32835;
constexpr int ViewSmallIcons = 32836;
constexpr int ViewDetails = 32837; // the list with columns

constexpr int CategoryBase = 35000; // + CategoryID: "Change category"

} // namespace CommandIds
