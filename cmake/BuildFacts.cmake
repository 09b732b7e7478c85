# Facts that a release stamps into the build. An empty text counts as not stamped.
set(PELL_API_BASE_URL "" CACHE STRING "Base URL of the product server")
option(PELL_ALLOWS_API_OVERRIDE "Whether a user default may name another server" ON)
option(PELL_DEVELOPMENT_BUILD "Whether this is a development build" OFF)
set(PELL_BUNDLE_IDENTIFIER "com.pell.dictation" CACHE STRING "Identifier of the application")
