/* The version resource of the libraries and programs of ORVOBusiness. ORVO_FILE and ORVO_TEXT are set before this file
   is included. */
#include <winver.h>

#ifndef ORVO_VERSION
#define ORVO_VERSION 0,1,0,0
#define ORVO_VERSION_TEXT "0.1.0"
#endif

VS_VERSION_INFO VERSIONINFO
  FILEVERSION ORVO_VERSION
  PRODUCTVERSION ORVO_VERSION
  FILEOS VOS_NT_WINDOWS32
  FILETYPE VFT_DLL
BEGIN
  BLOCK "StringFileInfo"
  BEGIN
    BLOCK "040904B0"
    BEGIN
      VALUE "CompanyName", "ORVOBusiness"
      VALUE "FileDescription", ORVO_TEXT
      VALUE "FileVersion", ORVO_VERSION_TEXT
      VALUE "InternalName", ORVO_FILE
      VALUE "OriginalFilename", ORVO_FILE
      VALUE "ProductName", "ORVOBusiness"
      VALUE "ProductVersion", ORVO_VERSION_TEXT
      VALUE "OLESelfRegister", ""
    END
  END
  BLOCK "VarFileInfo"
  BEGIN
    VALUE "Translation", 0x0409, 0x04B0
  END
END
