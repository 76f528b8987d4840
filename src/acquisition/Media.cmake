# The readers of film, music and picture details, in shelfwise_core.
target_sources(shelfwise_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/LibraryMediaReader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaDetails.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaInfoFile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PictureDetails.cpp
)
