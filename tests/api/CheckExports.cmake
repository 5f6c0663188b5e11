# Checks the dynamic symbol table of libquentra.velmoUtil.so: every API entry
# point is there, and no internal (velmo::), anonymous-namespace or standard
# library symbol is, nor any private member function of an exported class in
# the public headers (HEADERS).
execute_process(COMMAND ${NM} -D --defined-only -C ${LIB}
  OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIB}")
endif()

set(required
  "enlargeWithNAligned(float, float, int, AlignMode)"
  "GenSizeInit(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT&, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT&)"
  "GenSizeProc(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT&, STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT&, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT&)"
  "SetFE_Main("
  "SetRRZ_AuxiFEnRect("
  "Set_WPE_TRAW(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT&, STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT&, int, int)"
  "SetDPE("
  "showErrorLog("
  "showLog("
  "show_init_in_log("
  "show_init_out_log("
  "show_proc_in_log("
  "show_proc_out_log("
  "gen_procIn_testcase("
  "GENSIZE::debugLevel"
  "gRatioMode"
  "STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT::toString[abi:cxx11]()"
  "STEREO_KERNEL_GEN_SIZE_TRAW_RZ_STAGE_STRUCT::toString[abi:cxx11]()"
  "RotateMMap(RotateMMapParam)"
  "PowerSaving(PowerSavingParam)"
  "VWMT::enlargeWithNAligned(float, float, int, AlignMode)"
  "VWMT::find_center_offset(int*, int*, int, int)"
  "VWMT::MemoryManager::MemoryManager("
  "VWMT::Grid_Buffer::storeGrid("
  "VWMT::MeshInterpolator::interpolateQueryVerticesOpt(float*, float*, float*, float*)"
  "VWMT::MeshInterpolator::searchTable"
  "VWMT::MeshGridUtility::connectGridByTriangleMesh(int*, int, int)"
  "VWMT::Interp1_Sorted::applyWeightedSum("
  "VWMT::ImageTransformationDescriptor::getIntegratedCroppingAndResizingParameter(float*)"
  "VWMT::MatrixUtility_Intrinsic::composeIntrinsicMatrix("
  "VWMT::ProcWarpMap::fmtTrnasOfDataType(int*, float*, int)"
  "VWMT::transpose_image_clockwise(int*, int, int)"
  "VWMT::File_Bin::read("
  "VWMT::CalibrationDataReader::read_meshVertXY("
  "CombWarpMapTrans::CombWarpMapTrans()"
  "CombWarpMapTrans::mergeGrid(int**, int**, OIS_INTERPOLATE_INFO_STRUCT const&)"
  "CombWarpMapTrans::getWorkingBufferSize()"
  "CombWarpMapTrans::genQueriedGridXYByMeshInterpolation("
  "VectWarpMapTrans::oisVecToGrid(VWMTInput const&, VWMTOutput&)"
  "VectWarpMapTrans::transformVectToWarpMap_gpu("
  "VectWarpMapTrans::getWorkingBufferSize()"
  "VectWarpMapTrans::genQueriedGridXYByBilinerInterpolation("
  "bilinear_interpolation("
  "VWMT::logLevel"
  "VWMT::ois_scale_x"
  "velmoUtilVersion")

set(failures "")
foreach(name IN LISTS required)
  string(FIND "${symbols}" " ${name}" at)
  if(at EQUAL -1)
    string(APPEND failures "  missing export: ${name}\n")
  endif()
endforeach()

string(REPLACE "\n" ";" lines "${symbols}")
foreach(line IN LISTS lines)
  if(line MATCHES " velmo::" OR line MATCHES "anonymous namespace" OR line MATCHES "^[0-9a-f]+ [A-Za-z] (std|__gnu_cxx)::")
    string(APPEND failures "  internal symbol exported: ${line}\n")
  endif()
endforeach()

# Private and protected member functions named in the exported classes'
# declarations: "Class::name(" must not appear in the table.
file(GLOB_RECURSE headers "${HEADERS}/*.h")
set(private_members "")
foreach(header IN LISTS headers)
  file(STRINGS "${header}" declarations)
  set(class "")
  set(hidden FALSE)
  foreach(declaration IN LISTS declarations)
    if(declaration MATCHES "^(class|struct) VELMO_EXPORT ([A-Za-z_0-9]+)")
      set(class "${CMAKE_MATCH_2}")
      set(hidden FALSE)
    elseif(declaration MATCHES "^};")
      set(class "")
    elseif(class AND declaration MATCHES "^ *(private|protected):")
      set(hidden TRUE)
    elseif(class AND declaration MATCHES "^ *public:")
      set(hidden FALSE)
    elseif(class AND hidden AND NOT declaration MATCHES "^ *//"
           AND declaration MATCHES "([A-Za-z_][A-Za-z_0-9]*)\\(")
      list(APPEND private_members "${class}::${CMAKE_MATCH_1}(")
    endif()
  endforeach()
endforeach()
if(NOT private_members)
  string(APPEND failures "  no private member function found in ${HEADERS}: is the scan still right?\n")
endif()
foreach(member IN LISTS private_members)
  string(FIND "${symbols}" " ${member}" at_global)
  string(FIND "${symbols}" "::${member}" at_nested)
  if(NOT at_global EQUAL -1 OR NOT at_nested EQUAL -1)
    string(APPEND failures "  private member exported: ${member}\n")
  endif()
endforeach()

if(failures)
  message(FATAL_ERROR "export table of ${LIB}:\n${failures}")
endif()
message(STATUS "export table of ${LIB} holds the API and no internals")
