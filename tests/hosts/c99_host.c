/* A host in plain C: every function of the header is there to be linked, and a file is read.
   Usage: c99_host FILE */
#include "host_file.h"
#include "morvex/morvex_ensg.h"

typedef void (*AnyFunction)(void);
#define ADDRESS(name) ((AnyFunction)(name))

int main(int argc, char** argv) {
  const AnyFunction all[] = {ADDRESS(MX_openFile),
                             ADDRESS(MX_exit),
                             ADDRESS(MX_setNumberOfOmpThreads),
                             ADDRESS(MX_getReaderRelease),
                             ADDRESS(MX_getNumberOfTimesets),
                             ADDRESS(MX_getGeometryAdaptivityType),
                             ADDRESS(MX_getModelGeoTimeset),
                             ADDRESS(MX_getMeasuredGeoTimeset),
                             ADDRESS(MX_getNumberOfTimesteps),
                             ADDRESS(MX_getTimestepsValues),
                             ADDRESS(MX_hasElementIds),
                             ADDRESS(MX_hasNodeIds),
                             ADDRESS(MX_getNumberOfParts),
                             ADDRESS(MX_getPartInformation),
                             ADDRESS(MX_getPartCoordinates),
                             ADDRESS(MX_getBlockStructuredCoordinates),
                             ADDRESS(MX_getBlockIblanking),
                             ADDRESS(MX_getElementConnectivity),
                             ADDRESS(MX_getNSidedNumberOfNodesPerFace),
                             ADDRESS(MX_getDataSizeForNSidedConnectivity),
                             ADDRESS(MX_getNSidedConnectivity),
                             ADDRESS(MX_getNFacedNumberOfFacesPerElement),
                             ADDRESS(MX_getDataSizeForNFacedNodesPerFace),
                             ADDRESS(MX_getNFacedNodesPerFace),
                             ADDRESS(MX_getDataSizeForNFacedConnectivity),
                             ADDRESS(MX_getNFacedConnectivity),
                             ADDRESS(MX_hasMeasuredGeometry),
                             ADDRESS(MX_getNumberOfMeasuredParticles),
                             ADDRESS(MX_getMeasuredParticleIds),
                             ADDRESS(MX_getMeasuredParticleCoordinates),
                             ADDRESS(MX_getBoundingBox),
                             ADDRESS(MX_finishedGeometryProcessing),
                             ADDRESS(MX_getPartElementIds),
                             ADDRESS(MX_getPartNodeIds),
                             ADDRESS(MX_getNumberOfVariables),
                             ADDRESS(MX_getVariableGeoType),
                             ADDRESS(MX_getVariableInformation),
                             ADDRESS(MX_getVariableByComponent),
                             ADDRESS(MX_getConstantValue),
                             ADDRESS(MX_hasBorderFaces),
                             ADDRESS(MX_getBorderFacesConnByType)};
  const HostLibrary library = {MX_openFile, MX_getNumberOfParts, MX_getPartCoordinates,
                               MX_getVariableByComponent, MX_exit};
  char release[20];
  size_t i;
  if (argc != 2) return 2;
  memset(release, 'x', sizeof release);
  if (MX_getReaderRelease(release) != 0 || strcmp(release, "7.0.1") != 0 || release[19] != 0) {
    printf("unexpected release %.20s\n", release);
    return 1;
  }
  for (i = 0; i < sizeof all / sizeof all[0]; ++i) {
    if (!all[i]) return 1;
  }
  if (sizeof all / sizeof all[0] != 41) return 1;
  if (MX_openFile("no such file", 0) != -1 || MX_getNumberOfParts() != 0) return 1;
  return hostReads(&library, argv[1]) ? 0 : 1;
}
