# Facts that a release stamps into the build. An empty text counts as not stamped.
set(PELL_API_BASE_URL "" CACHE STRING "Base URL of the product server")
set(PELL_DOWNLOAD_URL "" CACHE STRING "Web page from which the application is downloaded. Empty: none is offered")
option(PELL_ALLOWS_API_OVERRIDE "Whether a user default may name another server" ON)
option(PELL_DEVELOPMENT_BUILD "Whether this is a development build" OFF)
set(PELL_BUNDLE_IDENTIFIER "com.pell.dictation" CACHE STRING "Identifier of the application")
set(PELL_REMOTE_CONFIG_KEY "" CACHE STRING
    "Ed25519 key that signs the remote configuration: its raw public half in base64. Empty: none is asked for")
if(PELL_DEVELOPMENT_BUILD AND NOT PELL_REMOTE_CONFIG_KEY)
  # The private half stands beside it, so that the whole road can be walked. Never in a release.
  file(STRINGS ${CMAKE_SOURCE_DIR}/tests/fixtures/remote-config/public-key PELL_REMOTE_CONFIG_KEY)
endif()
set(PELL_SUPPORT_ADDRESS "" CACHE STRING "Where users write for help. Empty: no text offers it")
