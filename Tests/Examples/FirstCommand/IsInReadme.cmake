# Fails unless the file ${code} stands whole in a code block of ${readme}.
file(READ "${readme}" readme_text)
file(READ "${code}" code_text)
string(FIND "${readme_text}" "```cpp\n${code_text}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${readme} does not show ${code} as it is.")
endif()
