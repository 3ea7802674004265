# Runs examples/motif_zscores.py and checks that it wrote a non-empty PNG.
file(REMOVE ${PNG})
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${PYTHONPATH} MPLBACKEND=Agg
          ${PYTHON} ${SCRIPT} ${NETWORK} ${PNG} --count 30 --seed 7
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "motif_zscores.py failed with status ${status}")
endif()
if(NOT EXISTS ${PNG})
  message(FATAL_ERROR "motif_zscores.py wrote no ${PNG}")
endif()
file(SIZE ${PNG} size)
if(size EQUAL 0)
  message(FATAL_ERROR "motif_zscores.py wrote an empty ${PNG}")
endif()
