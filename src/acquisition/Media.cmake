# The readers of film, music and picture details, in shelfwise_core.
target_sources(shelfwise_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Exiv2MediaIo.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LibraryMediaReader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaDetails.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaFile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaFileDevice.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MediaInfoFile.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OggDuration.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PictureDetails.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PictureHeader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SvgRootSize.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TagLibMediaStream.cpp
)
