# Where a build looks for updates and sends reports to. The defaults name reserved hosts that can't exist: the program then
# says that no server is configured instead of trying one.

set(TESSALY_UPDATE_HOST "updates.tessaly.invalid" CACHE STRING "Host of the update check")
set(TESSALY_DOWNLOAD_PAGE "https://downloads.tessaly.invalid/" CACHE STRING "Download page unless the server names one")
set(TESSALY_SUPPORT_HOST "support.tessaly.invalid" CACHE STRING "Host that takes feedback reports")
set(TESSALY_UPLOAD_KEY "" CACHE STRING "Key of the feedback upload, 43 characters; never commit it")

string(LENGTH "${TESSALY_UPLOAD_KEY}" key_length)
if(NOT key_length EQUAL 0 AND NOT key_length EQUAL 43)
    message(FATAL_ERROR "TESSALY_UPLOAD_KEY has ${key_length} characters instead of 43")
endif()
if(key_length EQUAL 0 AND NOT TESSALY_SUPPORT_HOST MATCHES "\\.invalid$")
    message(FATAL_ERROR "TESSALY_SUPPORT_HOST is set, but TESSALY_UPLOAD_KEY isn't")
endif()

include(UploadKey)
