list(APPEND seam_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/CodeBlocks.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LogTexts.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LogTextsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SeamRules.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SeamRulesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SeamTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SourceTree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/StyleRules.cpp
  ${CMAKE_CURRENT_LIST_DIR}/StyleRulesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/UsesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VocabularyTest.cpp)
