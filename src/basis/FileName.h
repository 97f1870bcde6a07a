// File-name arithmetic and small file helpers: joining, base names, extensions, the
// temporary folder and temporary names, and reading a text file into lines.
#ifndef TAVLIN_BASIS_FILENAME_H
#define TAVLIN_BASIS_FILENAME_H

#include <string>
#include <vector>

namespace Tavlin
{

bool FileExists(const std::string& name);

// dir + "/" + file; an empty or "." dir gives file, an empty file gives dir.
std::string FileNameConcat(const std::string& dir, const std::string& file);

// The file name without directory and extension: a/b.c/img.jpg gives img.
std::string FileNameBase(const std::string& path);

// The extension behind the last "." of the file part, lower-cased on request.
std::string FileNameExt(const std::string& path, bool lowerCase = false);

std::string PathJoin(std::string a, std::string b);

// The folder of temporary files from --tmpPath, created once; empty means current.
std::string GetTmpPath();

// A name unique within the process and across processes sharing the folder.
std::string FileNameTmp();

// Appends the lines of a text file to `out`, line ends removed. With skipEmpty,
// comment lines ("#") and empty lines are dropped.
void FileReadString(std::vector<std::string>& out, const std::string& fileName, bool skipEmpty = true,
                    bool report = true);

} // namespace Tavlin

#endif
