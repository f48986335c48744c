// The one list of the registry values that the extension reads or writes, with the paths under which the
// modules ask for them. docs/settings.md explains each, and the policy templates offer those that are read.
// Where a program's folder is looked for under several spellings of a path, the locators have these
// themselves (launcher/program_locators.cpp); here each value stands once.
#pragma once

#include <array>
#include <string_view>

enum class Usage { Read, Written, ReadAndWritten };

struct Setting {
  const wchar_t* Path;
  const wchar_t* Type;     // as the extension writes it, or as its first writer does; any type is read
  const wchar_t* Default;  // what a missing value means
  Usage Use;
};

// What the menu offers.
inline constexpr Setting menu_mode{LR"(HKLM\Software\Norvak\MenuMode)", L"REG_DWORD", L"0",
                                   Usage::ReadAndWritten};
inline constexpr Setting windows11_menu{LR"(HKLM\Software\Norvak\Windows11Menu)", L"REG_SZ", L"1",
                                        Usage::Read};
inline constexpr Setting card_connector{LR"(HKLM\Software\Norvak\CardConnector)", L"REG_SZ", L"off",
                                        Usage::Read};
inline constexpr Setting csp_card_connector{LR"(HKLM\Software\Norvak\CSP\CardConnector)", L"REG_SZ", L"off",
                                            Usage::Read};
inline constexpr Setting credential_provider{LR"(HKLM\Software\Norvak\CredentialProvider)", L"REG_SZ", L"off",
                                             Usage::Read};
inline constexpr Setting csp_credential_provider{LR"(HKLM\Software\Norvak\CSP\CredentialProvider)", L"REG_SZ",
                                                 L"off", Usage::Read};
inline constexpr Setting multi_signer{LR"(HKLM\Software\Norvak\MultiSignator)", L"REG_SZ", L"off",
                                      Usage::Read};
inline constexpr Setting users_container{LR"(HKCU\Software\Norvak\pdf\UniqueContainerName)", L"REG_SZ", L"",
                                         Usage::Read};
inline constexpr Setting machines_container{LR"(HKLM\Software\Norvak\pdf\UniqueContainerName)", L"REG_SZ",
                                            L"", Usage::Read};
inline constexpr Setting certificate_always_valid{LR"(HKLM\Software\Norvak\CSP\CertificateAlwaysValid)",
                                                  L"REG_SZ", L"0", Usage::Read};

// Where the suite is.
inline constexpr Setting install_folder{LR"(HKLM\SOFTWARE\Norvak\pdf\path)", L"REG_SZ", L"",
                                        Usage::ReadAndWritten};
inline constexpr Setting users_install_folder{LR"(HKCU\SOFTWARE\Norvak\pdf\path)", L"REG_SZ", L"",
                                              Usage::ReadAndWritten};
inline constexpr Setting second_install_folder{LR"(HKLM\SOFTWARE\Norvak\pdf\INSTALLDIR)", L"REG_SZ", L"",
                                               Usage::Read};
inline constexpr Setting users_second_install_folder{LR"(HKCU\SOFTWARE\Norvak\pdf\INSTALLDIR)", L"REG_SZ",
                                                     L"", Usage::Read};
inline constexpr Setting page_keeper_folder{LR"(HKLM\Software\Norvak\pagekeeper\path)", L"REG_SZ", L"",
                                            Usage::Read};
inline constexpr Setting second_page_keeper_folder{LR"(HKLM\Software\Norvak\pagekeeper\INSTALLDIR)",
                                                   L"REG_SZ", L"", Usage::Read};
inline constexpr Setting quill_sign_folder{LR"(HKLM\Software\Norvak\quill!\path)", L"REG_SZ", L"",
                                           Usage::Read};
inline constexpr Setting second_quill_sign_folder{LR"(HKLM\Software\Norvak\quill!\INSTALLDIR)", L"REG_SZ",
                                                  L"", Usage::Read};
inline constexpr Setting quill_folder{LR"(HKLM\Software\Norvak\quill\path)", L"REG_SZ", L"", Usage::Read};
inline constexpr Setting second_quill_folder{LR"(HKLM\Software\Norvak\quill\INSTALLDIR)", L"REG_SZ", L"",
                                             Usage::Read};
inline constexpr Setting csp_folder{LR"(HKLM\Software\Norvak\csp\INSTALLDIR)", L"REG_SZ", L"", Usage::Read};

// The secure drive.
inline constexpr Setting stick_mounted{LR"(HKCU\Software\Norvak\CSP\StickMounted)", L"REG_DWORD", L"0",
                                       Usage::ReadAndWritten};
inline constexpr Setting last_crypt_drive{LR"(HKCU\Software\Norvak\CSP\LastCryptDrive)", L"REG_SZ", L"",
                                          Usage::Written};
inline constexpr Setting users_stick_drive{LR"(HKCU\Software\Norvak\StickDrive)", L"REG_SZ", L"",
                                           Usage::Read};
inline constexpr Setting machines_stick_drive{LR"(HKLM\Software\Norvak\StickDrive)", L"REG_SZ", L"",
                                              Usage::Read};

// Where settings are kept.
inline constexpr Setting force_hklm{LR"(HKLM\Software\Norvak\forceHKLM)", L"REG_SZ", L"0", Usage::Read};
inline constexpr Setting write_test{LR"(HKLM\SOFTWARE\Norvak\ctest)", L"REG_DWORD", L"", Usage::Written};
inline constexpr Setting use_ini{LR"(HKLM\Software\Norvak\useini)", L"REG_SZ", L"0", Usage::Read};
inline constexpr Setting users_ini{LR"(HKLM\Software\Norvak\userini)", L"REG_SZ", L"%user%.ini", Usage::Read};
inline constexpr Setting global_ini{LR"(HKLM\Software\Norvak\globalini)", L"REG_SZ", L"global.ini",
                                    Usage::Read};

// The log, and the end of use.
inline constexpr Setting always_debug{LR"(HKLM\Software\Norvak\AlwaysDebug)", L"REG_SZ", L"0", Usage::Read};
inline constexpr Setting debug_path{LR"(HKLM\Software\Norvak\debugpath)", L"REG_SZ", L"",
                                    Usage::ReadAndWritten};
inline constexpr Setting alternative_write_path{LR"(HKLM\SOFTWARE\Norvak\AlternativeWritePath)", L"REG_SZ",
                                                L"", Usage::Read};
inline constexpr Setting drive_root_trace{LR"(HKLM\Software\Norvak\pdf\clog)", L"REG_DWORD", L"0",
                                          Usage::Read};
inline constexpr Setting skip_auto_unload{LR"(HKLM\Software\Norvak\SkipAutoUnload)", L"REG_SZ", L"0",
                                          Usage::Read};

// Below these all of them stand, except how file types look.
inline constexpr std::array<std::wstring_view, 2> settings_branches{LR"(HKLM\SOFTWARE\Norvak)",
                                                                    LR"(HKCU\SOFTWARE\Norvak)"};

// The branch of which a user who may not write for the machine has an own copy.
inline constexpr std::wstring_view machine_branch = LR"(HKLM\SOFTWARE\Norvak\pdf)";
inline constexpr std::wstring_view users_branch = LR"(HKCU\SOFTWARE\Norvak\pdf)";

// The language of the suite, which its translator knows by itself; menuhost speaks it too.
inline constexpr std::wstring_view suite_language = LR"(HKLM\SOFTWARE\Norvak\language)";

// Repaired when another program of the suite writes it; nothing here reads or writes it by itself.
inline constexpr std::wstring_view joined_install_folder = LR"(HKLM\SOFTWARE\Norvak\pdfpath)";

// How the suite's file types look.
inline constexpr Setting envelope_icon{LR"(HKCR\.p7m\DefaultIcon\)", L"REG_SZ", L"", Usage::ReadAndWritten};
inline constexpr Setting signature_icon{LR"(HKCR\.p7s\DefaultIcon\)", L"REG_SZ", L"", Usage::ReadAndWritten};

inline constexpr std::array all_settings{&menu_mode,
                                         &windows11_menu,
                                         &card_connector,
                                         &csp_card_connector,
                                         &credential_provider,
                                         &csp_credential_provider,
                                         &multi_signer,
                                         &users_container,
                                         &machines_container,
                                         &certificate_always_valid,
                                         &install_folder,
                                         &users_install_folder,
                                         &second_install_folder,
                                         &users_second_install_folder,
                                         &page_keeper_folder,
                                         &second_page_keeper_folder,
                                         &quill_sign_folder,
                                         &second_quill_sign_folder,
                                         &quill_folder,
                                         &second_quill_folder,
                                         &csp_folder,
                                         &stick_mounted,
                                         &last_crypt_drive,
                                         &users_stick_drive,
                                         &machines_stick_drive,
                                         &force_hklm,
                                         &write_test,
                                         &use_ini,
                                         &users_ini,
                                         &global_ini,
                                         &always_debug,
                                         &debug_path,
                                         &alternative_write_path,
                                         &drive_root_trace,
                                         &skip_auto_unload,
                                         &envelope_icon,
                                         &signature_icon};
